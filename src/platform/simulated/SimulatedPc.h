#pragma once

#include "platform/simulated/calls/Call.h"

#include <QJsonValue>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace torvelane::platform {

/// Which calls a fault strikes, of those that it names.
struct Struck {
    QString part = {}; ///< Has to occur in the call's arguments, joined by blanks, without regard to case.
    int n = 1;         ///< The first match that is struck, counted in every process since the fault was set.
    bool once = false; ///< Whether later matches are left alone.
};

/// The simulated PC: what stands behind the platform headers where there is no Windows. This is the control of it, for
/// tests and for `./dev pc`.
///
/// Its whole state is one SQLite file, seeded the first time from resources/simulated-pc.json, shared with the
/// simulated tools and with every other process that names the same file, and kept between runs. A change is one
/// transaction that is in the file when the call returns, so a process killed at any moment leaves exactly the changes
/// that had happened.
///
/// Callable on any thread; every thread works on a connection of its own. A Qt application object is needed, since Qt
/// loads its SQLite driver through it. Nothing here is a call of the machine: it meets no fault, no observer and no record.
class SimulatedPc {
public:
    // The machine's file

    /// File in use: the last setMachineFile, otherwise the environment variable TORVELANE_SIMULATED_PC, otherwise a
    /// place in the user's own data directory.
    [[nodiscard]] static QString machineFile();

    /// Switches this process, and the children that it starts from now on, to another machine. The file is made and
    /// seeded when it is first used; a file that exists is used as it stands. Open registry keys become invalid
    /// (Win32Error::InvalidHandle). Call it while no other thread uses the machine.
    static void setMachineFile(const QString& path);

    /// Puts the machine back to its seed, without faults and records; a file that is missing, older or damaged is made
    /// anew. `seedFile` names a JSON document to use instead of the one compiled in. False with `error` if that
    /// couldn't be read, the machine being unchanged then, or if the file couldn't be written.
    [[nodiscard]] static bool reset(const QString& seedFile = {}, QString* error = nullptr);

    /// Writes a consistent copy of the machine, faults and records included, to a file that doesn't exist yet.
    [[nodiscard]] static bool copyTo(const QString& path);

    // Looking at the machine and arranging it

    /// The whole machine as sorted lines: "registry/HKCU\Software\X [Name] REG_DWORD 0x1" for each value, and
    /// "facility/path = value" for each leaf of the other facilities' documents.
    [[nodiscard]] static QStringList image();

    /// What stands in a facility's document under "facility/key/0/key", with `~1` for a slash in a key and `~0` for a
    /// tilde (as in JSON Pointer, RFC 6901). Undefined if nothing does.
    [[nodiscard]] static QJsonValue value(const QString& path);

    /// Changes it as another program would, or Windows itself. The parents have to be there; a key that isn't there is
    /// added, "-" stands for a new element behind the last one, and an undefined value removes. False if that can't be.
    static bool setValue(const QString& path, const QJsonValue& value);

    // Calls and faults. `call` is the name of a call ("tools.cmd"); a facility ("registry"), for each call that changes
    // something in it; or empty, for each change of the machine, a tool's run included. Faults are kept in the machine's
    // file and so hold for every process until clearFaults.

    /// The calls that were recorded, the oldest first: changes and runs of tools, and such queries as are worth it. With
    /// `call`, only those.
    [[nodiscard]] static QList<CallRecord> calls(const QString& call = {});
    static void clearCalls();

    /// Such a call does nothing and answers `code`, whatever its facility's codes are.
    template <typename Code>
    static void fail(const QString& call, Code code, const Struck& struck = {})
    {
        failWith(call, static_cast<qint64>(code), struck);
    }

    /// Such a call waits that long before it does anything.
    static void hang(const QString& call, int durationMs, const Struck& struck = {});

    /// The process that makes the n-th of these calls is ended by SIGKILL, before or after it. Happens once.
    static void kill(const QString& call, CallMoment moment, const Struck& struck = {});

    static void clearFaults();

    /// The faults in force, one readable line each.
    [[nodiscard]] static QStringList faults();

    /// Called, on the thread that makes it, before and after every change of this process; the second time only for a
    /// change that happened. It may look at the machine and arrange it, but must make no calls itself. An empty function
    /// takes it away.
    static void setObserver(std::function<void(CallMoment, const Call&)> observer);

    SimulatedPc() = delete;

private:
    static void failWith(const QString& call, qint64 code, const Struck& struck);
};

} // namespace torvelane::platform
