#pragma once

#include <QString>

namespace torvelane::platform {

/// The identifier that Windows draws at installation (MachineGuid below HKLM\SOFTWARE\Microsoft\Cryptography): stable
/// across updates and restarts, and no serial number of a part. Empty if it can't be read. Not for display: see
/// account/MachineIdentity.
[[nodiscard]] QString machineGuid();

} // namespace torvelane::platform
