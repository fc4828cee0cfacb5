#pragma once

#include "measure/HardwareScanner.h"
#include "system/WmiSession.h"

namespace torvelane {

/// The section "Graphics": what DXGI says, with model and memory from the driver's registry key where they are better,
/// and what WMI knows of the same adapter; without a usable DXGI adapter WMI alone. `session` is connected to ROOT\CIMV2.
[[nodiscard]] HardwareSection scanGraphics(WmiSession& session);

/// The name without a serial-like tail: a dash and eight or more letters and digits, at least one of each.
[[nodiscard]] QString cleanGpuModel(const QString& name);

} // namespace torvelane
