#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/tools/Tool.h"
#include "platform/simulated/tools/ToolLanguage.h"

#include <QThread>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {

/// ipconfig.exe /flushdns.
int runIpConfig(const ToolRun& run)
{
    if (run.arguments != QStringList{u"/flushdns"_s})
        return failUnknown(u"ipconfig.exe"_s, run);
    const int exitCode = Calls::run({u"dns.flushCache"_s, {}}, [](QJsonObject&) { return 0; });
    run.output.line();
    run.output.line(u"Windows IP Configuration"_s);
    run.output.line();
    run.output.line(exitCode == 0 ? u"Successfully flushed the DNS Resolver Cache."_s
                                  : u"Could not flush the DNS Resolver Cache: Function failed during execution."_s);
    return exitCode;
}

/// ping.exe -n <count> <host>: one echo request a second, the first one at once.
int runPing(const ToolRun& run)
{
    if (run.arguments.size() != 3 || run.arguments[0] != "-n"_L1)
        return failUnknown(u"ping.exe"_s, run);
    QThread::sleep(static_cast<unsigned long>(std::max(1, run.arguments[1].toInt()) - 1));
    return 0;
}

/// shutdown.exe /r /t SECONDS /c TEXT. What is scheduled stands in the document of "shutdown".
int runShutdown(const ToolRun& run)
{
    constexpr int alreadyScheduled = 1190; // ERROR_SHUTDOWN_IS_SCHEDULED
    if (run.arguments.size() != 5 || run.arguments[0] != u"/r" || run.arguments[1] != u"/t"
        || run.arguments[3] != u"/c")
        return failUnknown(u"shutdown.exe"_s, run);
    const int code = Calls::run(Call{u"shutdown.schedule"_s, run.arguments}, [&](QJsonObject& document) {
        if (document.contains("restartInSeconds"_L1))
            return alreadyScheduled;
        document.insert("restartInSeconds"_L1, run.arguments[2].toInt());
        document.insert("comment"_L1, run.arguments[4]);
        return 0;
    });
    if (code == alreadyScheduled) {
        run.output.error(inLanguage(u"A system shutdown has already been scheduled.(1190)"_s,
                                    u"Un arrêt système a déjà été planifié.(1190)"_s));
    }
    return code;
}

/// taskkill.exe /f /im <image>, for the desktop only.
int runTaskKill(const ToolRun& run)
{
    if (run.arguments.size() != 3 || run.arguments.first(2) != QStringList{u"/f"_s, u"/im"_s})
        return failUnknown(u"taskkill.exe"_s, run);
    const QString& image = run.arguments[2];
    if (image != "explorer.exe"_L1) {
        run.output.error(u"ERROR: The process \"%1\" not found."_s.arg(image));
        return 128;
    }
    const int exitCode = Calls::run({u"processes.end"_s, {image}}, [](QJsonObject&) { return 0; });
    if (exitCode == 0)
        run.output.line(u"SUCCESS: The process \"%1\" with PID 4920 has been terminated."_s.arg(image));
    return exitCode;
}

} // namespace torvelane::platform::simulated
