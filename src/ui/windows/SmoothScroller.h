#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QPropertyAnimation>

class QScrollArea;
class QScrollBar;
class QWheelEvent;
class QWidget;

namespace torvelane {

/// Makes every scroll area of the program glide on wheel steps. Installed once on the application, as an event filter.
class SmoothScroller : public QObject {
    Q_OBJECT

public:
    explicit SmoothScroller(QObject* parent = nullptr);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Glide {
        int target = 0;
        QPointer<QPropertyAnimation> animation; // the bar's child, and gone with it
    };

    bool scroll(QWidget* widget, const QWheelEvent& event);
    void glideTo(QScrollBar* bar, int target);

    QHash<QScrollBar*, Glide> m_glides;
};

} // namespace torvelane
