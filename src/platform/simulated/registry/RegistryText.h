#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace torvelane::platform::simulated {

/// Value types and data as text, the way reg.exe spells them. One place for the seed file, the simulated tools and
/// the readable differences.

/// "REG_DWORD"; for a type without a name, its number.
[[nodiscard]] QString typeName(quint32 type);
[[nodiscard]] std::optional<quint32> typeFromName(const QString& name);

/// UTF-16LE with the terminator.
[[nodiscard]] QByteArray stringData(QStringView text);
[[nodiscard]] QByteArray multiStringData(const QStringList& texts);
[[nodiscard]] QByteArray dwordData(quint32 number);
[[nodiscard]] QByteArray qwordData(quint64 number);

/// Data as reg.exe prints it. Numbers of a wrong size are printed as bytes.
[[nodiscard]] QString dataText(quint32 type, const QByteArray& data);

/// Data as it is written on a command line: text, a decimal or 0x number, hex digits, or strings separated by
/// `separator`. Absent if it doesn't fit the type.
[[nodiscard]] std::optional<QByteArray> dataFromText(quint32 type, const QString& text,
                                                     const QString& separator = QStringLiteral("\\0"));

} // namespace torvelane::platform::simulated
