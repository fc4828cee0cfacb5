#pragma once

#include "ui/theme/Icons.h"

#include <QString>

class QPushButton;
class QWidget;

namespace torvelane {

/// The pill that stands where a subscription is missing: `word` behind an icon, opening the pricing page of the web site
/// at `webBase`. Its height in pixels is the least it has; the corners are half of that.
[[nodiscard]] QPushButton* makeTierPill(const QString& word, const QString& webBase, IconId icon, int height,
                                        int iconSize, QWidget* parent = nullptr);

void setTierPillText(QPushButton* pill, const QString& word);

} // namespace torvelane
