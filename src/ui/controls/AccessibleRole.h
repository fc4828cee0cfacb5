#pragma once

#include <QAccessible>

class QWidget;

namespace torvelane {

/// Has assistive technology take a widget for what it looks like, such as a tab, rather than for what it is made of. A
/// checked button is then the selected one of its list or of its row of tabs. Before the widget is shown.
void setAccessibleRole(QWidget* widget, QAccessible::Role role);

/// What a widget with a role of its own shows at present, such as "12%". May change at any time.
void setAccessibleValue(QWidget* widget, const QString& value);

} // namespace torvelane
