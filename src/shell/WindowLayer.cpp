#include "shell/WindowLayer.h"

#include "core/Deployment.h"
#include "core/Log.h"
#include "core/Translate.h"
#include "shell/ShellController.h"
#include "shell/SingleInstance.h"
#include "shell/UrlProtocol.h"
#include "ui/controls/FocusRing.h"
#include "ui/theme/Theme.h"
#include "ui/windows/SmoothScroller.h"

#include <QApplication>

namespace torvelane {

namespace {

/// Whether the program may go on without, or with, a line to the outside.
bool passConnectivityGate()
{
    if (!qEnvironmentVariableIsSet("TORVELANE_NO_CONNECTION_CHECK") && !deployment::hasBackend) {
        logMessage(LogLevel::Info, QStringLiteral("connectivity"),
                   QStringLiteral("This build has no backend; connectivity check skipped"));
    }
    return true;
}

/// Whether an update has taken over.
bool handOverToUpdate()
{
    if (!qEnvironmentVariableIsSet("TORVELANE_NO_UPDATE") && !deployment::hasBackend) {
        logMessage(LogLevel::Info, QStringLiteral("update"),
                   QStringLiteral("This build has no backend; update check skipped"));
    }
    return false;
}

} // namespace

int runWindowLayer(AppContext& context, const QStringList& arguments)
{
    SingleInstance instance;
    if (!instance.claim(SingleInstance::linkIn(arguments)))
        return 0;
    installTranslator();
    applyTheme(*qApp);
    if (!passConnectivityGate())
        return 1;
    if (handOverToUpdate())
        return 0;

    // Links have no receiver while the account is the local one.
    instance.listen();
    registerUrlProtocol();
    qApp->installEventFilter(new SmoothScroller(qApp));
    new FocusRing(qApp);

    ShellController controller(context);
    controller.start();
    return QApplication::exec();
}

} // namespace torvelane
