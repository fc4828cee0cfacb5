#include "platform/ChildProcess.h"

#include "platform/ChildOutput.h"
#include "platform/ProcessTree.h"

#include <QDeadlineTimer>
#include <QProcess>

#include <algorithm>

namespace torvelane::platform {

namespace {

/// How long a process may take to vanish after it was killed, before it is left to the system.
constexpr int killTimeoutMs = 5000;

/// How long nothing may happen before the state of a process without a limit is looked at again.
constexpr int longestWaitMs = 1000;

void setCommand(QProcess& process, const ToolCommand& command)
{
    process.setProgram(command.program);
    process.setArguments(command.arguments);
#ifdef Q_OS_WIN
    process.setNativeArguments(command.nativeArguments);
#endif
}

/// Adds what there is room for. @return whether it was all
bool keep(QByteArray& kept, const QByteArray& said, qsizetype limitBytes)
{
    const qsizetype room = limitBytes - kept.size();
    kept += said.left(room);
    return said.size() <= room;
}

/// Takes the output piece by piece, so that a tool with much to say never waits long for a reader, nor fills the memory of
/// this process, nor talks past its limit. @return whether the child has ended
bool awaitEnd(QProcess& process, const ChildProcessLimits& limits, ChildOutput& output)
{
    const QDeadlineTimer deadline(limits.finishTimeoutMs);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired())
        output.listen(process, deadline.isForever() ? longestWaitMs : static_cast<int>(deadline.remainingTime()));
    return process.state() == QProcess::NotRunning;
}

} // namespace

ChildProcessResult runChildProcess(const ToolCommand& command, const ChildProcessLimits& limits,
                                   ErrorOutput errorOutput)
{
    using Outcome = ChildProcessResult::Outcome;

    // The tree goes last: it may still end processes that the process object leaves behind.
    ProcessTree tree;
    ChildProcessResult result;
    ChildOutput output(errorOutput, [&](bool isError, const QByteArray& said) {
        const bool all = keep(isError ? result.errorOutput : result.output, said, limits.outputLimitBytes);
        result.outputIsCut = result.outputIsCut || !all;
    });
    QProcess process;
    setCommand(process, command);

    tree.prepare(process);
    if (!output.prepare(process))
        return {};
    process.start(QIODevice::ReadWrite);
    const bool isStarted = process.waitForStarted(limits.startTimeoutMs);
    output.adopt();
    if (!isStarted) {
        process.kill();
        process.waitForFinished(killTimeoutMs);
        return {};
    }
    tree.adopt(process);
    process.closeWriteChannel();

    if (!awaitEnd(process, limits, output)) {
        tree.killAll();
        process.closeReadChannel(QProcess::StandardOutput);
        process.closeReadChannel(QProcess::StandardError);
        process.waitForFinished(killTimeoutMs);
        result.outcome = Outcome::TimedOut;
        return result;
    }
    output.take(process);
    const bool isRegular = process.exitStatus() == QProcess::NormalExit;
    result.outcome = isRegular ? Outcome::Finished : Outcome::Crashed;
    if (isRegular)
        result.exitCode = tree.exitCode(process);
    tree.release();
    return result;
}

bool startDetached(const ToolCommand& command)
{
    QProcess process;
    setCommand(process, command);
    return process.startDetached();
}

} // namespace torvelane::platform
