#include "platform/ConsoleText.h"

#include <windows.h>

namespace torvelane::platform {

QString decodeConsoleText(const QByteArray& bytes)
{
    // Without a console of ours the child gets one of its own, which begins with the OEM code page.
    const UINT consoleCodePage = GetConsoleOutputCP();
    const UINT codePage = consoleCodePage != 0 ? consoleCodePage : GetOEMCP();
    const int sizeBytes = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(codePage, 0, bytes.constData(), sizeBytes, nullptr, 0);
    QString text(length, Qt::Uninitialized);
    if (length > 0)
        MultiByteToWideChar(codePage, 0, bytes.constData(), sizeBytes, reinterpret_cast<wchar_t*>(text.data()), length);
    return text;
}

} // namespace torvelane::platform
