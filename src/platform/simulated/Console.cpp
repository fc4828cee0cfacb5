#include "platform/Console.h"

#include <QByteArray>

namespace torvelane::platform {

void prepareForCommandLine()
{
    // The application object is the one with windows in either case, and would end the program without a display.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

void attachParentConsole() { }

} // namespace torvelane::platform
