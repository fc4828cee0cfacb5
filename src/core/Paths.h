#pragma once

#include <QString>

/// Where the program's files live. All functions return absolute paths and touch nothing but the environment, unless
/// they say otherwise; any thread may call them once start-up has set the override.
namespace torvelane::Paths {

/// The per-user directory: "Torvelane" below the user's configuration location (local application data on Windows).
[[nodiscard]] QString dataDir();

/// The machine's directory: "Torvelane" below %ProgramData%, or below C:/ProgramData if that variable is empty.
[[nodiscard]] QString machineDataDir();

[[nodiscard]] QString configFile();      ///< config.json, per user
[[nodiscard]] QString stateDb();         ///< state.db, per user; SQLite keeps -wal and -shm beside it
[[nodiscard]] QString undoFile();        ///< undo.reg, per user: see system/UndoFile
[[nodiscard]] QString logFile();         ///< torvelane.log, per user
[[nodiscard]] QString lockFile();        ///< torvelane.lock, per user; empty: see system/MachineLock
[[nodiscard]] QString tokenFile();       ///< token.bin, per user; enciphered
[[nodiscard]] QString enforcementFile(); ///< enforcement.dat, machine

/// Creates the per-user directory with its parents if it is missing; whether it exists afterwards.
[[nodiscard]] bool ensureDataDir();

/// The same for the machine's directory.
[[nodiscard]] bool ensureMachineDataDir();

/// Runs against another per-user directory; an empty string restores the usual one. The program itself never sets it:
/// it is for running against another directory, as tests do. Not while other threads run.
void setDataDirOverride(const QString& path);

} // namespace torvelane::Paths
