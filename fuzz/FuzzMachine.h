#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace torvelane::fuzz {

/// Gives the process a machine and a data directory of its own, which end with it, and keeps the log silent. Once,
/// before the first input.
void prepareMachine();

[[nodiscard]] inline QByteArray bytesOf(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)};
}

void replaceContent(const QString& path, const QByteArray& content);

/// Ends the process as a finding unless `condition` holds.
inline void require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

} // namespace torvelane::fuzz
