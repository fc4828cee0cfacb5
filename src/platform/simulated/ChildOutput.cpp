#include "platform/ChildOutput.h"

#include <QProcess>

#include <algorithm>

namespace torvelane::platform {

namespace {

/// Waiting ends with what comes on standard output: how long standard error may gather meanwhile.
constexpr int waitSliceMs = 100;

} // namespace

struct ChildOutput::Private {
    ErrorOutput errorOutput;
    Listener listener;
};

ChildOutput::ChildOutput(ErrorOutput errorOutput, Listener listener)
    : d(std::make_unique<Private>(Private{errorOutput, std::move(listener)}))
{
}

ChildOutput::~ChildOutput() = default;

bool ChildOutput::prepare(QProcess& process)
{
    if (d->errorOutput == ErrorOutput::Merged)
        process.setProcessChannelMode(QProcess::MergedChannels);
    return true;
}

void ChildOutput::adopt() { }

void ChildOutput::listen(QProcess& process, int timeoutMs)
{
    process.waitForReadyRead(std::min(timeoutMs, waitSliceMs));
    take(process);
}

void ChildOutput::take(QProcess& process)
{
    d->listener(false, process.readAllStandardOutput());
    if (d->errorOutput == ErrorOutput::Separate)
        d->listener(true, process.readAllStandardError());
}

} // namespace torvelane::platform
