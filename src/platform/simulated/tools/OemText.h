#pragma once

#include <QByteArray>
#include <QString>

namespace torvelane::platform::simulated {

/// The OEM code page of the simulated PC, 850 as on Western European machines: what its tools write into pipes.
/// Characters that it hasn't got become the question mark, a curly apostrophe the straight one.
[[nodiscard]] QByteArray toOem(const QString& text);
[[nodiscard]] QString fromOem(const QByteArray& bytes);

} // namespace torvelane::platform::simulated
