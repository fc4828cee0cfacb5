#pragma once

#include <QString>

/// The drive C: of the simulated PC: a real folder beside the machine's file, filled from the facility "files" when it is
/// first looked at. "content" lists {"path", "sizeBytes"} without the drive's letter; "folders" names the special folders
/// by their environment variables. Names count with regard to case, unlike on Windows.
namespace torvelane::platform::simulated {

/// Where a path of Windows lies on the host. "\Temp" is at the root of the drive; other drives hold nothing.
[[nodiscard]] QString hostPath(const QString& windowsPath);

/// The path of Windows for a place in the drive's folder; empty for one outside of it.
[[nodiscard]] QString windowsPath(const QString& hostPath);

/// Removes the folder, so that it is filled anew. Of a machine's reset.
void discardDrive(const QString& machineFile);

} // namespace torvelane::platform::simulated
