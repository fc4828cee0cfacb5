#pragma once

namespace torvelane::platform {

/// First call of main, before any Qt object: takes away the means of a non-elevated user to steer this elevated
/// process (plug-in and library search paths, the current directory, a forged system root), so that children inherit
/// a clean state as well. What the process makes from then on is owned by Administrators, whatever the machine's policy
/// for new objects says. On the simulated PC: makes the machine's file and the simulated tools reachable, and new files
/// private. On Windows also switches off what this build of Qt gets wrong. Main thread.
void prepareProcess();

} // namespace torvelane::platform
