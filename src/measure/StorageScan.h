#pragma once

#include "measure/HardwareScanner.h"
#include "system/WmiSession.h"

namespace torvelane {

/// The section "Storage": the drives of ROOT\CIMV2, to which `session` is connected, each with what the storage
/// namespace knows of the same disk. Without that namespace the drives carry no media type, bus or health.
[[nodiscard]] HardwareSection scanStorage(WmiSession& session);

} // namespace torvelane
