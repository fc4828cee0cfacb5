#include "platform/ConsoleText.h"

#include "platform/simulated/tools/OemText.h"

namespace torvelane::platform {

QString decodeConsoleText(const QByteArray& bytes)
{
    return simulated::fromOem(bytes);
}

} // namespace torvelane::platform
