#pragma once

#include <QStringList>

namespace torvelane {

/// The application's style sheet, with the families filled in. Widgets that are not listed here by object name or `variant` are
/// painted in code. The hover looks of tiles that appear by the hundred don't belong here: each rule costs every widget.
[[nodiscard]] QString globalStyleSheet(const QString& bodyFamily, const QString& displayFamily,
                                       const QStringList& glyphFamilies);

/// The rules of the vertical scroll bar alone, as they stand in the sheet.
[[nodiscard]] QString verticalScrollBarRules();

/// The rules of a see-through scroll area alone, as they stand in the sheet.
[[nodiscard]] QString scrollAreaRules();

} // namespace torvelane
