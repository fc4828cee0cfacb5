#include "platform/ProcessTree.h"

#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/tools/ToolsDirectory.h"

#include <QFileInfo>
#include <QProcess>

#include <array>
#include <cerrno>
#include <csignal>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace torvelane::platform {

using namespace simulated;

// The child leads a process group of its own. A parent-death signal would reach the child alone, not what it started, so
// a small guard process does it: it reads from a channel whose other end only this process keeps open. The child
// writes its number into it before it becomes the tool. At the channel's end, which comes with our own end however
// that happens, the guard ends the group; a zero before that sends the guard home.
// (A pair of sockets, since writing into a pipe whose reader has died would end this process.)
namespace {

constexpr pid_t released = 0;

// Everything below runs in forked copies of a process with threads: system calls only.

[[noreturn]] void guard(int readEnd)
{
    // A Ctrl+C in the terminal ends this process, and it is the guard who has to see to the children then.
    ::setsid();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        ::signal(signal, SIG_IGN);
    // Above all the standard streams and the writing ends of all guards' channels, this one's included.
    if (readEnd > 0)
        ::close_range(0, static_cast<unsigned>(readEnd - 1), 0);
    ::close_range(static_cast<unsigned>(readEnd + 1), ~0U, 0);

    pid_t group = released;
    for (;;) {
        pid_t message = released;
        const ssize_t size = ::read(readEnd, &message, sizeof message);
        if (size < 0 && errno == EINTR)
            continue;
        if (size == sizeof message && message != released) {
            group = message;
            continue;
        }
        if (group != released && size != sizeof message)
            ::kill(-group, SIGKILL);
        ::_exit(0);
    }
}

void report(int writeEnd, pid_t message)
{
    while (::send(writeEnd, &message, sizeof message, MSG_NOSIGNAL) < 0 && errno == EINTR) { }
}

} // namespace

struct ProcessTree::Private {
    int writeEnd = -1;
    pid_t guardId = -1;
    pid_t group = -1;
    std::optional<Calls::Running> toolRun; ///< If the child is one of the machine's tools.

    /// What the tool has recorded as its exit code.
    [[nodiscard]] std::optional<int> recordedExitCode() const
    {
        Store* const store = toolRun ? Store::current() : nullptr;
        if (!store)
            return std::nullopt;
        Execution record(store->prepared(u"SELECT answer FROM call WHERE id > ? AND processId = ? ORDER BY id LIMIT 1"),
                         {toolRun->recordId(), group});
        return record.next() && !record.value(0).isNull() ? std::optional(record.value(0).toInt()) : std::nullopt;
    }

    /// Ends the guard without letting it end the group.
    void dismissGuard()
    {
        if (writeEnd >= 0) {
            report(writeEnd, released);
            ::close(writeEnd);
            writeEnd = -1;
        }
        if (guardId > 0) {
            while (::waitpid(guardId, nullptr, 0) < 0 && errno == EINTR) { }
            guardId = -1;
        }
    }
};

ProcessTree::ProcessTree() : d(std::make_unique<Private>()) { }

ProcessTree::~ProcessTree()
{
    killAll();
    d->dismissGuard();
}

void ProcessTree::prepare(QProcess& process)
{
    // The tool records its own work; this is the caller's side of it, so that a test can stop the caller here.
    if (QFileInfo(process.program()).absolutePath() == toolsDirectory()) {
        d->toolRun.emplace(Call{QStringLiteral("processes.runTool"),
                                QStringList{QFileInfo(process.program()).fileName()} + process.arguments()});
        if (d->toolRun->laidDown())
            process.setProgram(QString());
    }
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0) {
        d->guardId = ::fork();
        if (d->guardId == 0)
            guard(ends[0]);
        ::close(ends[0]);
        d->writeEnd = ends[1];
    }
    process.setChildProcessModifier([writeEnd = d->writeEnd] {
        ::setpgid(0, 0);
        if (writeEnd >= 0)
            report(writeEnd, ::getpid());
    });
}

void ProcessTree::adopt(QProcess& process)
{
    process.setChildProcessModifier({});
    d->group = static_cast<pid_t>(process.processId());
}

void ProcessTree::killAll()
{
    // The number of a group stays taken as long as it has members, even after its leader's end. Without members, it
    // could in theory have gone to another group; the kernel hands numbers out in turn, so not within a tool's time.
    // A child that wasn't prepared leads no group.
    if (d->group > 0 && ::kill(-d->group, SIGKILL) != 0)
        ::kill(d->group, SIGKILL);
    d->group = -1;
}

int ProcessTree::exitCode(const QProcess& process) const
{
    return d->recordedExitCode().value_or(process.exitCode());
}

void ProcessTree::release()
{
    if (d->toolRun)
        d->toolRun->finish(d->recordedExitCode().value_or(0));
    d->toolRun.reset();
    d->group = -1;
    d->dismissGuard();
}

} // namespace torvelane::platform
