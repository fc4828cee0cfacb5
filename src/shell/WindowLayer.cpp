#include "shell/WindowLayer.h"

#include "app/AppContext.h"
#include "core/Deployment.h"
#include "core/Translate.h"
#include "shell/ShellController.h"
#include "shell/SingleInstance.h"
#include "shell/StartGates.h"
#include "shell/UrlProtocol.h"
#include "ui/controls/FocusRing.h"
#include "ui/theme/Theme.h"
#include "ui/windows/SmoothScroller.h"
#include "update/AutoUpdater.h"

#include <QApplication>

namespace torvelane {

int runWindowLayer(AppContext& context, const QStringList& arguments)
{
    SingleInstance instance;
    if (!instance.claim(SingleInstance::linkIn(arguments)))
        return 0;
    installTranslator();
    applyTheme(*qApp);
    if (!passConnectivityGate(context.apiBaseUrl, deployment::hasBackend))
        return 1;
    if (AutoUpdater::checkAndUpdate())
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
