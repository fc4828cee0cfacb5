#include "ui/controls/GateTransition.h"

#include <QGraphicsBlurEffect>
#include <QGraphicsOpacityEffect>
#include <QGraphicsPixmapItem>
#include <QGraphicsScene>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QPropertyAnimation>
#include <QStackedLayout>

#include <functional>

namespace torvelane::GateTransition {

namespace {

constexpr int fadeDurationMs = 300;
const QString snapshotName = QStringLiteral("GateSnapshot");

/// Fades a widget by an opacity effect of its own. `atEnd` is called only if that effect is still the widget's: a newer
/// transition that has put its own there isn't disturbed.
void fade(QWidget* widget, double from, double to, std::function<void()> atEnd)
{
    auto* const effect = new QGraphicsOpacityEffect(widget);
    effect->setOpacity(from);
    widget->setGraphicsEffect(effect);
    auto* const animation = new QPropertyAnimation(effect, "opacity", effect);
    animation->setDuration(fadeDurationMs);
    animation->setStartValue(from);
    animation->setEndValue(to);
    animation->setEasingCurve(QEasingCurve::OutCubic);
    QObject::connect(animation, &QPropertyAnimation::finished, widget,
                     [widget, guard = QPointer<QGraphicsEffect>(effect), atEnd = std::move(atEnd)] {
                         if (guard && widget->graphicsEffect() == guard)
                             atEnd();
                     });
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

bool isLocked(const QWidget* page)
{
    return qobject_cast<QGraphicsBlurEffect*>(page->graphicsEffect()) != nullptr;
}

void setLocked(QStackedLayout* stack, QWidget* page, QWidget* panel, bool locked)
{
    if (locked) {
        auto* const blur = new QGraphicsBlurEffect(page);
        blur->setBlurRadius(blurRadius);
        page->setGraphicsEffect(blur);
        stack->setCurrentWidget(panel);
        panel->show();
    } else {
        page->setGraphicsEffect(nullptr);
        stack->setCurrentWidget(page);
    }
}

} // namespace

void apply(QWidget* wrapper, QStackedLayout* stack, QWidget* page, QWidget* panel, bool locked, bool animate)
{
    page->setEnabled(!locked);
    if (!animate || locked == isLocked(page) || !page->isVisible()) {
        if (locked == isLocked(page) && animate)
            return;
        panel->setGraphicsEffect(nullptr);
        setLocked(stack, page, panel, locked);
        panel->setVisible(locked);
        return;
    }

    QWidget* const host = wrapper->parentWidget() ? wrapper->parentWidget() : wrapper;
    const auto old = host->findChildren<QLabel*>(snapshotName, Qt::FindDirectChildrenOnly);
    for (QLabel* const label : old) {
        // Renamed, so that nobody finds it again before the event loop has deleted it.
        label->setObjectName(QString());
        label->hide();
        label->deleteLater();
    }

    const QPixmap shown = page->grab();
    auto* const snapshot = new QLabel(host);
    snapshot->setObjectName(snapshotName);
    snapshot->setAttribute(Qt::WA_TransparentForMouseEvents);
    snapshot->setPixmap(locked ? shown : blurPixmap(shown, blurRadius));
    snapshot->setGeometry(QRect(page->mapTo(host, QPoint(0, 0)), page->size()));

    setLocked(stack, page, panel, locked);
    if (locked) {
        fade(panel, 0.0, 1.0, [panel] { panel->setGraphicsEffect(nullptr); });
    } else {
        panel->show();
        fade(panel, 1.0, 0.0, [panel] {
            panel->hide();
            panel->setGraphicsEffect(nullptr);
        });
    }
    snapshot->show();
    snapshot->raise();
    panel->raise();
    fade(snapshot, 1.0, 0.0, [snapshot] { snapshot->deleteLater(); });
}

QPixmap blurPixmap(const QPixmap& pixmap, double radius)
{
    QPixmap blurred(pixmap.size());
    blurred.setDevicePixelRatio(pixmap.devicePixelRatio());
    blurred.fill(Qt::transparent);
    QGraphicsScene scene;
    QGraphicsPixmapItem* const item = scene.addPixmap(pixmap);
    auto* const blur = new QGraphicsBlurEffect;
    blur->setBlurRadius(radius);
    item->setGraphicsEffect(blur);
    QPainter painter(&blurred);
    const QRectF area(QPointF(0, 0), pixmap.deviceIndependentSize());
    scene.render(&painter, area, area);
    return blurred;
}

} // namespace torvelane::GateTransition
