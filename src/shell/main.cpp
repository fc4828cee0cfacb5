#include "account/SubscriptionState.h"
#include "app/AppContext.h"
#include "app/CommandLine.h"
#include "core/Deployment.h"
#include "platform/Console.h"
#include "platform/Hardening.h"
#include "platform/TimerPeriod.h"
#include "platform/WindowFrame.h"
#include "shell/WindowLayer.h"

#include <QApplication>
#include <QIcon>
#include <QTextStream>

#include <cstdio>

using namespace torvelane;

namespace {

/// One millisecond of timer resolution for the whole run. The exits before the window layer leave its end to the end of
/// the process.
constexpr unsigned timerPeriodMs = 1;

} // namespace

int main(int argc, char** argv)
{
    platform::prepareProcess();
    platform::setAppUserModelId(QStringLiteral("Torvelane.Torvelane"));
    platform::beginTimerPeriod(timerPeriodMs);
    if (argc > 1 && isCliVerb(QString::fromLocal8Bit(argv[1]).toLower()))
        platform::prepareForCommandLine();

    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Torvelane"));
    QCoreApplication::setApplicationName(QStringLiteral("Torvelane"));
    QCoreApplication::setApplicationVersion(deployment::version);
    qRegisterMetaType<Tier>("torvelane::Tier");
    qRegisterMetaType<SubscriptionState>("torvelane::SubscriptionState");

    AppContext context;
    if (!context.init()) {
        platform::attachParentConsole();
        QTextStream(stdout) << "FATAL: cannot initialize (data directory not writable).\n";
        return 1;
    }
    const QStringList arguments = QCoreApplication::arguments();
    if (isCliVerb(arguments.value(1).toLower())) {
        platform::attachParentConsole();
        return runCli(context, arguments);
    }
    // Not before: it loads Qt's icon and image plug-ins, for which a verb has no use.
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/app.ico")));
    const int exitCode = runWindowLayer(context);
    platform::endTimerPeriod(timerPeriodMs);
    return exitCode;
}
