#include "ui/controls/AccessibleRole.h"

#include <QAbstractButton>
#include <QAccessibleWidget>

namespace torvelane {

namespace {

constexpr const char* roleProperty = "accessibleRole";
constexpr const char* valueProperty = "accessibleValue";

class RoleInterface : public QAccessibleWidget {
public:
    using QAccessibleWidget::QAccessibleWidget;

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        if (const QAbstractButton* const choice = button(); choice && choice->isCheckable()) {
            state.checkable = true;
            state.checked = choice->isChecked();
            state.selectable = true;
            state.selected = choice->isChecked();
        }
        return state;
    }

    QString text(QAccessible::Text which) const override
    {
        return which == QAccessible::Value ? widget()->property(valueProperty).toString()
                                           : QAccessibleWidget::text(which);
    }

    QStringList actionNames() const override
    {
        QStringList names = QAccessibleWidget::actionNames();
        if (button() && button()->isEnabled())
            names.prepend(pressAction());
        return names;
    }

    void doAction(const QString& name) override
    {
        if (name == pressAction() && button())
            button()->click();
        else
            QAccessibleWidget::doAction(name);
    }

private:
    [[nodiscard]] QAbstractButton* button() const { return qobject_cast<QAbstractButton*>(widget()); }
};

QAccessibleInterface* makeInterface(const QString&, QObject* object)
{
    const QVariant role = object->property(roleProperty);
    auto* const widget = qobject_cast<QWidget*>(object);
    if (!role.isValid() || !widget)
        return nullptr;
    return new RoleInterface(widget, static_cast<QAccessible::Role>(role.toInt()));
}

} // namespace

void setAccessibleRole(QWidget* widget, QAccessible::Role role)
{
    static const bool installed = [] {
        QAccessible::installFactory(makeInterface);
        return true;
    }();
    Q_UNUSED(installed)
    widget->setProperty(roleProperty, static_cast<int>(role));
    // A text that was set before has been announced, by an interface of Qt's own, and that is kept.
    QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(QAccessible::queryAccessibleInterface(widget)));
}

void setAccessibleValue(QWidget* widget, const QString& value)
{
    if (widget->property(valueProperty).toString() == value)
        return;
    widget->setProperty(valueProperty, value);
    if (!QAccessible::isActive())
        return;
    QAccessibleValueChangeEvent event(widget, value);
    QAccessible::updateAccessibility(&event);
}

} // namespace torvelane
