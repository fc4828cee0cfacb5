#include "account/SubscriptionState.h"
#include "app/AppContext.h"
#include "app/CommandLine.h"
#include "core/Deployment.h"
#include "platform/Arguments.h"
#include "platform/Console.h"
#include "platform/Hardening.h"
#include "platform/TimerPeriod.h"
#include "platform/WindowFrame.h"
#include "shell/WindowLayer.h"
#include "ui/theme/ProgramIcon.h"

#include <QApplication>
#include <QTextStream>

#include <algorithm>
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
    const QStringList arguments = platform::programArguments(argc, argv);
    const bool isCommandLine = isCliVerb(arguments.value(1).toLower());
    if (isCommandLine)
        platform::prepareForCommandLine();

    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    // Qt sees the program's name and nothing else: whoever starts this program, elevated as it is, would choose its
    // plug-ins otherwise.
    int nameOnly = std::min(argc, 1);
    char* name[] = {nameOnly > 0 ? argv[0] : nullptr, nullptr};
    QApplication application(nameOnly, name);
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
    if (isCommandLine) {
        platform::attachParentConsole();
        return runCli(context, arguments);
    }
    QGuiApplication::setWindowIcon(programIcon());
    const int exitCode = runWindowLayer(context, arguments);
    platform::endTimerPeriod(timerPeriodMs);
    return exitCode;
}
