#include "shell/WindowLayer.h"

#include "platform/ProcessSettings.h"

#include <QTextStream>

#include <cstdio>

namespace torvelane {

int runWindowLayer(AppContext&)
{
    platform::attachParentConsole();
    QTextStream(stdout) << "Torvelane has no window yet. Use it from the command line:\n"
                           "  Torvelane status | list | apply <id> | revert <id> | restore-all | selftest\n"
                           "  Torvelane hwid | login [user name] [tier] | heartbeat | logout\n";
    return 1;
}

} // namespace torvelane
