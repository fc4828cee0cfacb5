#include "ui/theme/OutsideStyleSheet.h"

#include <QCoreApplication>
#include <QPointer>

namespace torvelane {

void forgetInStyleSheet(QWidget* widget)
{
    widget->setAttribute(Qt::WA_StyleSheet, false);
    // The style forgets whatever a widget that it knows says is destroyed. QStyle::unpolish() would work out the widget's
    // rules anew and keep them.
    static QPointer<QWidget> herald;
    if (!herald) {
        herald = new QWidget;
        qAddPostRoutine([] { delete herald; });
        herald->ensurePolished();
    }
    Q_EMIT herald->destroyed(widget);
}

} // namespace torvelane
