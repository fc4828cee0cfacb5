#pragma once

#include <QString>

namespace torvelane {

/// The same text to the eye, in which words that no line would hold, such as registry paths, may be broken after a
/// separator. For labels that wrap: Qt breaks no word by itself, and cuts it off instead.
[[nodiscard]] QString withBreaks(const QString& text);

} // namespace torvelane
