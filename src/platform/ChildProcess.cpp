#include "platform/ChildProcess.h"

#include "platform/ProcessTree.h"

#include <QProcess>

namespace torvelane::platform {

namespace {

/// How long a process may take to vanish after it was killed, before it is left to the system.
constexpr int killTimeoutMs = 5000;

} // namespace

ChildProcessResult runChildProcess(const ToolCommand& command, const ChildProcessLimits& limits)
{
    using Outcome = ChildProcessResult::Outcome;

    // The tree goes last: it may still end what the process object leaves behind.
    ProcessTree tree;
    QProcess process;
    process.setProgram(command.program);
    process.setArguments(command.arguments);
#ifdef Q_OS_WIN
    process.setNativeArguments(command.nativeArguments);
#endif
    process.setProcessChannelMode(QProcess::MergedChannels);

    tree.prepare(process);
    process.start(QIODevice::ReadWrite);
    if (!process.waitForStarted(limits.startTimeoutMs)) {
        process.kill();
        process.waitForFinished(killTimeoutMs);
        return {};
    }
    tree.adopt(process);
    process.closeWriteChannel();

    // Waiting also takes the output in, so that a tool with much to say never waits for a reader.
    ChildProcessResult result;
    if (!process.waitForFinished(limits.finishTimeoutMs) && process.state() != QProcess::NotRunning) {
        tree.killAll();
        process.waitForFinished(killTimeoutMs);
        result.outcome = Outcome::TimedOut;
    } else {
        const bool isRegular = process.exitStatus() == QProcess::NormalExit;
        result.outcome = isRegular ? Outcome::Finished : Outcome::Crashed;
        if (isRegular)
            result.exitCode = tree.exitCode(process);
        tree.release();
    }
    result.output = process.readAll();
    return result;
}

} // namespace torvelane::platform
