#include "platform/Console.h"

#include <QByteArray>

namespace torvelane::platform {

void prepareForCommandLine()
{
    // A verb shows nothing. This plug-in needs no display and, unlike the others, looks for no fonts.
    qputenv("QT_QPA_PLATFORM", "minimal");
}

void attachParentConsole() { }

} // namespace torvelane::platform
