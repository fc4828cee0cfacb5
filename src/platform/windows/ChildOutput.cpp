#include "platform/ChildOutput.h"

#include "platform/windows/Owners.h"

#include <QProcess>

#include <algorithm>

namespace torvelane::platform {

namespace {

constexpr DWORD pieceBytes = 65536;
constexpr int piecesAtOnce = 16; ///< Before the clock is looked at.
constexpr int pollIntervalMs = 10;

} // namespace

struct ChildOutput::Private {
    struct Pipe {
        OwnedHandle readEnd;
        OwnedHandle writeEnd; ///< Inherited by the child, and closed here once it has started.

        bool open()
        {
            return CreatePipe(readEnd.put(), writeEnd.put(), nullptr, pieceBytes)
                && SetHandleInformation(writeEnd.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
        }
    };

    ErrorOutput errorOutput;
    Listener listener;
    Pipe output;
    Pipe errors;
    QByteArray buffer = QByteArray(pieceBytes, Qt::Uninitialized);

    /// Never waits. @return whether there was something
    bool handOn(const Pipe& pipe, bool isError)
    {
        DWORD bytes = 0;
        if (!pipe.readEnd || !PeekNamedPipe(pipe.readEnd.get(), nullptr, 0, nullptr, &bytes, nullptr) || bytes == 0)
            return false;
        if (!ReadFile(pipe.readEnd.get(), buffer.data(), std::min(bytes, pieceBytes), &bytes, nullptr))
            return false;
        listener(isError, buffer.first(bytes));
        return bytes > 0;
    }

    bool handOnBoth()
    {
        const bool hadOutput = handOn(output, false);
        return handOn(errors, true) || hadOutput;
    }
};

ChildOutput::ChildOutput(ErrorOutput errorOutput, Listener listener) : d(std::make_unique<Private>())
{
    d->errorOutput = errorOutput;
    d->listener = std::move(listener);
}

ChildOutput::~ChildOutput() = default;

bool ChildOutput::prepare(QProcess& process)
{
    const bool isMerged = d->errorOutput == ErrorOutput::Merged;
    if (!d->output.open() || (!isMerged && !d->errors.open()))
        return false;
    // So that Qt makes no pipes.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.setCreateProcessArgumentsModifier(
        [output = d->output.writeEnd.get(), errors = (isMerged ? d->output : d->errors).writeEnd.get(),
         next = process.createProcessArgumentsModifier()](QProcess::CreateProcessArguments* arguments) {
            arguments->startupInfo->hStdOutput = output;
            arguments->startupInfo->hStdError = errors;
            if (next)
                next(arguments);
        });
    return true;
}

void ChildOutput::adopt()
{
    d->output.writeEnd.reset();
    d->errors.writeEnd.reset();
}

void ChildOutput::listen(QProcess& process, int timeoutMs)
{
    int pieces = 0;
    while (pieces < piecesAtOnce && d->handOnBoth())
        ++pieces;
    // Anonymous pipes can't be waited for. A child that ends is noticed at once.
    process.waitForFinished(pieces > 0 ? 0 : std::min(timeoutMs, pollIntervalMs));
}

void ChildOutput::take(QProcess&)
{
    for (int pieces = 0; pieces < piecesAtOnce && d->handOnBoth(); ++pieces) { }
}

} // namespace torvelane::platform
