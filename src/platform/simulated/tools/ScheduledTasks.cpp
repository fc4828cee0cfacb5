#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/tools/Tool.h"

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {

/// schtasks.exe /Change /TN <task> /Enable or /Disable, on the facility "tasks".
/// https://learn.microsoft.com/windows-server/administration/windows-commands/schtasks-change
int runScheduledTasks(const ToolRun& run)
{
    const QString task = run.arguments.value(2);
    const QString change = run.arguments.value(3);
    const bool isKnown = run.arguments == QStringList{u"/Change"_s, u"/TN"_s, task, change}
        && (change == "/Enable"_L1 || change == "/Disable"_L1);
    if (!isKnown)
        return failUnknown(u"schtasks.exe"_s, run);

    const int exitCode = Calls::run({u"tasks.change"_s, {task, change}}, [&](QJsonObject& tasks) {
        if (!tasks.contains(task))
            return 1;
        tasks[task] = QJsonObject{{u"enabled"_s, change == "/Enable"_L1}};
        return 0;
    });
    if (exitCode == 0)
        run.output.line(u"SUCCESS: The parameters of scheduled task \"%1\" have been changed."_s.arg(task));
    else
        run.output.error(u"ERROR: The system cannot find the file specified."_s);
    return exitCode;
}

} // namespace torvelane::platform::simulated
