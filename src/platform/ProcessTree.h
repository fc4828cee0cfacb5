#pragma once

#include <memory>

class QProcess;

namespace torvelane::platform {

/// Keeps hold of a child process and of everything that it starts: a job object on Windows, a process group on the
/// simulated PC. Order: prepare before the start, adopt after it, then either release or destroy.
///
/// While the tree is held, the end of this process, even by a crash, ends the children too. Where the machine can't make
/// a tree, at least the child itself is ended by killAll. One tree a child; it lives on the thread of its QProcess.
class ProcessTree {
public:
    ProcessTree();
    ~ProcessTree();
    ProcessTree(const ProcessTree&) = delete;
    ProcessTree& operator=(const ProcessTree&) = delete;

    /// Before QProcess::start: sets up what has to be in place when the child is created.
    void prepare(QProcess& process);

    /// After waitForStarted said true: from here on the child and its descendants belong to the tree.
    void adopt(QProcess& process);

    /// Ends the child and all its descendants at once.
    void killAll();

    /// The exit code of the child, which has ended and wasn't released yet: 32 bits of it also where the host keeps eight.
    [[nodiscard]] int exitCode(const QProcess& process) const;

    /// Lets go: descendants that the child left running on purpose, such as a restarted shell, stay alive.
    void release();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace torvelane::platform
