#pragma once

#include <QString>

namespace torvelane::platform {

/// Process-wide settings of the machine. All of them are called on the main thread by main; none fails loudly.

/// First call of main, before any Qt object: takes away what a non-elevated user could use to steer this elevated
/// process (plug-in and library search paths, the current directory, a forged system root), so that children inherit
/// a clean state as well. On the simulated PC: makes the machine's file and the simulated tools reachable.
void prepareProcess();

/// Called by main, before the application object, when a command-line verb will run: no display is needed then.
void prepareForCommandLine();

/// SetCurrentProcessExplicitAppUserModelID: the identity under which the taskbar groups the windows.
void setAppUserModelId(const QString& id);

/// timeBeginPeriod and timeEndPeriod, which have to be paired. `periodMs` in milliseconds.
void beginTimerPeriod(unsigned periodMs);
void endTimerPeriod(unsigned periodMs);

/// Whether the process token is elevated (TokenElevation). False if that can't be told.
[[nodiscard]] bool isElevated();

/// AttachConsole(ATTACH_PARENT_PROCESS): lets a program of the window subsystem write to the console it was started
/// from. Streams that the parent has redirected to a file or a pipe keep their redirection; the others are reopened on
/// the console. Without a parent console nothing happens and the output goes nowhere.
void attachParentConsole();

/// Name of the user that the process runs as, without a domain. Empty if unknown.
[[nodiscard]] QString currentUserName();

/// Restricts a directory of ours to administrators and the system, with read access for the current user, so that a
/// program without elevation can't exchange what this one will trust. False if the machine refused.
[[nodiscard]] bool protectDirectory(const QString& path);

} // namespace torvelane::platform
