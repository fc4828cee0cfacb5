#pragma once

#include <QString>

namespace torvelane {

/// A stable name for this machine, fit for display and for a server: 32 hexadecimal digits in groups of eight, derived
/// one-way from the identifier that Windows drew at installation, so that it reveals neither that nor any serial number.
/// "unavailable" if the identifier can't be read.
[[nodiscard]] QString machineIdentity();

} // namespace torvelane
