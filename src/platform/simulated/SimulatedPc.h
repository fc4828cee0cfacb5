#pragma once

#include "platform/Win32Error.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace torvelane::platform {

/// One change of the simulated registry. Creating a key counts once, however many missing parents come with it.
struct RegistryChange {
    enum class Kind { CreateKey, SetValue, DeleteValue, DeleteKey };

    Kind kind = Kind::SetValue;
    QString keyPath; ///< Canonical, see SimulatedPc::canonicalKeyPath.
    QString name;    ///< Value name; empty for the default value and for changes of keys.
    quint32 type = 0;
    QByteArray data; ///< New bytes, for SetValue.
};

enum class ChangeMoment { Before, After };

/// Where a scripted failure of a value query strikes.
enum class QueryStage {
    Size, ///< RegistryKey::querySize
    Data, ///< RegistryKey::query
};

/// One value of the simulated registry, with its bytes as stored.
struct SimulatedValue {
    QString keyPath;
    QString name;
    quint32 type = 0;
    QByteArray data;

    bool operator==(const SimulatedValue&) const = default;
};

/// Every value of the machine, sorted by key path and name without regard to case.
using MachineSnapshot = QList<SimulatedValue>;

/// One call of a simulated tool.
struct ToolCall {
    qint64 startedMs = 0; ///< Since the epoch.
    qint64 processId = 0;
    QString tool;                ///< "cmd.exe"
    QStringList arguments;       ///< As the tool received them.
    std::optional<int> exitCode; ///< Absent while the tool runs, and for ever if it was killed.
};

/// The simulated PC: what stands behind the platform headers where there is no Windows.
///
/// Its whole state is one SQLite file, seeded the first time from resources/simulated-pc.json, shared with the
/// simulated tools and with every other process that names the same file, and kept between runs. A registry change is
/// one transaction that is in the file when the call returns, so a process killed at any moment leaves exactly the
/// changes that had happened.
///
/// Callable on any thread; every thread works on a connection of its own. A Qt application object is needed, since Qt
/// loads its SQLite driver through it. Key paths are written as people write them ("HKLM\SOFTWARE\Torvelane"; long
/// root names, HKCR, HKCC, HKU\<SID> and ControlSet001 are understood too).
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

    /// Puts the machine back to its seed, without faults and with an empty journal; a file that is missing is made.
    /// `seedFile` names a JSON document to use instead of the one compiled in. False with `error` if that couldn't be
    /// read or the file couldn't be written; the machine is then unchanged.
    [[nodiscard]] static bool reset(const QString& seedFile = {}, QString* error = nullptr);

    /// Writes a consistent copy of the machine, faults and journal included, to a file that doesn't exist yet.
    [[nodiscard]] static bool copyTo(const QString& path);

    // Looking at the machine and arranging it. None of these meets a fault or the observer.

    /// The one spelling under which a key appears in snapshots and changes: roots HKLM, HKCU and HKU, the control set
    /// as CurrentControlSet, HKCR as the key that a write would reach. The case is the given one.
    [[nodiscard]] static QString canonicalKeyPath(const QString& keyPath);

    [[nodiscard]] static MachineSnapshot snapshot();

    /// What differs in values, one readable line a difference: "- " before, "+ " after. Empty if nothing does. Keys
    /// without values aren't looked at.
    [[nodiscard]] static QStringList differences(const MachineSnapshot& before, const MachineSnapshot& after);

    /// One value; absent if there is none.
    [[nodiscard]] static std::optional<SimulatedValue> value(const QString& keyPath, const QString& name);
    [[nodiscard]] static bool keyExists(const QString& keyPath);

    /// Changes made as by another program: values appear, with their keys, change or go.
    static void putValue(const QString& keyPath, const QString& name, quint32 type, const QByteArray& data);
    static void putDword(const QString& keyPath, const QString& name, quint32 number);
    static void putString(const QString& keyPath, const QString& name, const QString& text);
    static void removeValue(const QString& keyPath, const QString& name);
    static void removeKey(const QString& keyPath);

    /// Whether isElevated says true; true in the seed. An unelevated process is denied writes outside HKCU.
    static void setElevated(bool elevated);

    [[nodiscard]] static QList<ToolCall> journal();
    static void clearJournal();

    // Faults. They are kept in the machine's file and so hold for every process until clearFaults. A change is
    // counted in every process, from 1, beginning when the fault is set; a call that doesn't reach the registry
    // (a denied key, a value that isn't there to be deleted) is none.

    /// Opening the key, or one below it, for reading answers Win32Error::AccessDenied.
    static void denyReads(const QString& keyPath);

    /// Opening the key, or one below it, for setting values answers Win32Error::AccessDenied, and so does creating one.
    static void denyWrites(const QString& keyPath);

    /// The n-th change from now is refused with `code`; with `andAllAfter`, every later one too.
    static void failChange(int n, Win32Error code = Win32Error::WriteFault, bool andAllAfter = false);

    /// The process that makes the n-th change from now is ended by SIGKILL, before or after that change. Happens once.
    static void killAtChange(int n, ChangeMoment moment);

    /// Asking for the size or the data of this value fails with `code`.
    static void failQuery(const QString& keyPath, const QString& name, QueryStage stage,
                          Win32Error code = Win32Error::AccessDenied);

    /// A tool whose command line ("cmd.exe /c echo hello") contains `part`, without regard to case, waits that long
    /// before it does anything.
    static void hangTool(const QString& part, int durationMs);

    /// Such a tool does nothing and ends with `exitCode`.
    static void failTool(const QString& part, int exitCode);

    static void clearFaults();

    /// The faults in force, one readable line each.
    [[nodiscard]] static QStringList faults();

    // The observer

    /// Called, on the thread that makes the change, before and after every registry change of this process; the second
    /// call comes only for a change that happened. It may read and arrange the machine, but must not make registry
    /// changes itself. An empty function takes it away.
    static void setChangeObserver(std::function<void(ChangeMoment, const RegistryChange&)> observer);

    SimulatedPc() = delete;
};

} // namespace torvelane::platform
