#pragma once

#include <QByteArray>
#include <QString>

namespace torvelane::platform {

/// What an external tool has written into a pipe, as text. Such tools use the code page of the console that they
/// inherit, or else the OEM code page, and neither is the one of windows and files. Bytes that mean nothing there
/// become replacement characters; numbers and GUIDs come through in any case.
[[nodiscard]] QString decodeConsoleText(const QByteArray& bytes);

} // namespace torvelane::platform
