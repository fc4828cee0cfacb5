#pragma once

#include <QMetaType>
#include <QString>

namespace torvelane {

/// Subscription tier, each including the ones before it.
enum class Tier { None = 0, Free = 1, Premium = 2, Pro = 3 };

/// The tier named by `text`, in any case, blanks around it ignored; None for anything else.
[[nodiscard]] Tier tierFromString(const QString& text);

/// "none", "free", "premium" or "pro"; "none" for anything out of range.
[[nodiscard]] QString tierName(Tier tier);

} // namespace torvelane

Q_DECLARE_METATYPE(torvelane::Tier)
