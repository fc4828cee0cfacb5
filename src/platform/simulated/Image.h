#pragma once

#include "platform/simulated/registry/RegistryTables.h"

#include <QStringList>

namespace torvelane::platform::simulated {

class Store;

/// "HKCU\\Software\\X [Name] REG_DWORD 0x1": one value as a line, with its bytes if the text doesn't show them.
[[nodiscard]] QString describe(const SimulatedValue& value);

/// The whole machine, see SimulatedPc::image. A facility whose state lies outside of the file adds its lines here.
[[nodiscard]] QStringList machineImage(Store& store);

/// The part of it that isn't the registry.
[[nodiscard]] QStringList facilityImage(Store& store);

} // namespace torvelane::platform::simulated
