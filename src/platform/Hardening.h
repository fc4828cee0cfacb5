#pragma once

namespace torvelane::platform {

/// First call of main, before any Qt object: takes away what a non-elevated user could use to steer this elevated
/// process (plug-in and library search paths, the current directory, a forged system root), so that children inherit
/// a clean state as well. On the simulated PC: makes the machine's file and the simulated tools reachable. Main thread.
void prepareProcess();

} // namespace torvelane::platform
