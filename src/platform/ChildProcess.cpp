#include "platform/ChildProcess.h"

#include "platform/ProcessTree.h"

#include <QDeadlineTimer>
#include <QProcess>

#include <algorithm>

namespace torvelane::platform {

namespace {

/// How long a process may take to vanish after it was killed, before it is left to the system.
constexpr int killTimeoutMs = 5000;

/// Waiting ends with what comes on standard output: how long standard error may gather meanwhile.
constexpr qint64 waitSliceMs = 100;

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

/// Takes what the child has said so far.
void takeOutput(QProcess& process, qsizetype limitBytes, ChildProcessResult& result)
{
    const bool all = keep(result.output, process.readAllStandardOutput(), limitBytes);
    const bool allErrors = process.processChannelMode() == QProcess::MergedChannels
        || keep(result.errorOutput, process.readAllStandardError(), limitBytes);
    result.outputIsCut = result.outputIsCut || !all || !allErrors;
}

/// Takes the output piece by piece, so that a tool with much to say never waits for a reader, nor fills the memory of
/// this process, nor talks past its limit. @return whether the child has ended
bool awaitEnd(QProcess& process, const ChildProcessLimits& limits, ChildProcessResult& result)
{
    const QDeadlineTimer deadline(limits.finishTimeoutMs);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        const qint64 leftMs = deadline.isForever() ? waitSliceMs : deadline.remainingTime();
        process.waitForReadyRead(static_cast<int>(std::min(leftMs, waitSliceMs)));
        takeOutput(process, limits.outputLimitBytes, result);
    }
    return process.state() == QProcess::NotRunning;
}

} // namespace

ChildProcessResult runChildProcess(const ToolCommand& command, const ChildProcessLimits& limits,
                                   ErrorOutput errorOutput)
{
    using Outcome = ChildProcessResult::Outcome;

    // The tree goes last: it may still end processes that the process object leaves behind.
    ProcessTree tree;
    QProcess process;
    setCommand(process, command);
    if (errorOutput == ErrorOutput::Merged)
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

    ChildProcessResult result;
    if (!awaitEnd(process, limits, result)) {
        tree.killAll();
        process.closeReadChannel(QProcess::StandardOutput);
        process.closeReadChannel(QProcess::StandardError);
        process.waitForFinished(killTimeoutMs);
        result.outcome = Outcome::TimedOut;
        return result;
    }
    takeOutput(process, limits.outputLimitBytes, result);
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
