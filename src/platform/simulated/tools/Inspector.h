#pragma once

#include <QStringList>

namespace torvelane::platform::simulated {

/// torvelane-pc: lets a person look at the simulated PC, change it and set its faults. Returns the exit code.
[[nodiscard]] int runInspector(const QStringList& arguments);

} // namespace torvelane::platform::simulated
