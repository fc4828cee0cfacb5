#pragma once

namespace torvelane::platform {

/// Called by main, before the application object, when a command-line verb will run: no display is needed then.
void prepareForCommandLine();

/// AttachConsole(ATTACH_PARENT_PROCESS): lets a program of the window subsystem write to the console it was started
/// from. Streams that the parent has redirected to a file or a pipe keep their redirection; the others are reopened on
/// the console. Without a parent console nothing happens and the output goes nowhere. Main thread, once.
void attachParentConsole();

} // namespace torvelane::platform
