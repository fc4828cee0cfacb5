#pragma once

#include "optimizers/PowerPlanManager.h"

/// What powercfg.exe writes, in whatever language: GUIDs, numbers and the star are the same in all of them. Anything else
/// reads as nothing. For PowerPlanManager alone.
namespace torvelane::PowercfgOutput {

/// In lower case; empty if there is none.
[[nodiscard]] QString firstGuid(const QString& text);

/// Of /list, one a line: a GUID, the name in brackets, and a star behind the active one's.
[[nodiscard]] QList<PowerPlan> plans(const QString& text);

/// Of /query for one setting. Its range comes first and its indices on mains and on battery last.
[[nodiscard]] PowerSettingValue settingValue(const QString& text);

} // namespace torvelane::PowercfgOutput
