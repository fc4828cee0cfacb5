// Torvelane's main window with all its pages, brought up as the program does it.

#include "Probe.h"
#include "account/AuthService.h"
#include "app/AppContext.h"
#include "core/Translate.h"
#include "platform/Hardening.h"
#include "ui/controls/FocusRing.h"
#include "ui/main/MainWindow.h"
#include "ui/theme/Theme.h"
#include "ui/windows/ChromeWindow.h"
#include "ui/windows/SmoothScroller.h"

using namespace torvelane;

int main(int argc, char** argv)
{
    platform::prepareProcess();
    QApplication application(argc, argv);
    AppContext context;
    if (!context.init() || !context.auth->restoreSession())
        return 1;
    installTranslator();
    applyTheme(application);
    application.installEventFilter(new SmoothScroller(&application));
    const FocusRing ring;
    ChromeWindow frame(QStringLiteral("Torvelane"));
    auto* const window = new MainWindow(context, &frame);
    frame.setContent(window);
    return bench::Probe(&frame, window).run();
}
