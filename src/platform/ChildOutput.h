#pragma once

#include "platform/ChildProcess.h"

#include <functional>
#include <memory>

class QProcess;

namespace torvelane::platform {

/// What a child says on its standard streams, taken no faster than somebody asks for it: a child with more to say waits.
/// (On Windows Qt's own reading goes on in a thread for as long as something is there. A child that never stops fills the
/// memory then, and whoever waits for it with a limit of time doesn't come to look at the clock.)
///
/// Order: prepare before the start and after ProcessTree::prepare, adopt after it, then listen, and take once it has ended.
/// One a child; it lives on the thread of its QProcess.
class ChildOutput {
public:
    /// Gets what was said on standard error if `isError`, else on standard output.
    using Listener = std::function<void(bool isError, const QByteArray& said)>;

    ChildOutput(ErrorOutput errorOutput, Listener listener);
    ~ChildOutput();
    ChildOutput(const ChildOutput&) = delete;
    ChildOutput& operator=(const ChildOutput&) = delete;

    /// Before QProcess::start: leads the streams here. False if the machine can't.
    [[nodiscard]] bool prepare(QProcess& process);

    /// After waitForStarted, whatever it said.
    void adopt();

    /// Hands on what has been said, or waits at most so long for something, or for the child's end.
    void listen(QProcess& process, int timeoutMs);

    /// Hands on all that is there from a child that has ended, but not what descendants will yet say.
    void take(QProcess& process);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace torvelane::platform
