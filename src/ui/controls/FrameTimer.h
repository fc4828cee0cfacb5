#pragma once

#include <QObject>

class QWidget;

namespace torvelane {

/// The beat of continuous animations: 33 ms, and the same beat for everybody, so that the window paints one frame for
/// all of them together instead of one for each. GUI thread.
class FrameTimer : public QObject {
    Q_OBJECT

public:
    static constexpr int intervalMs = 33;

    /// Beats from start() to stop(), or at every n-th beat: a movement of less than a pixel in 33 ms needs no more.
    explicit FrameTimer(QObject* parent, int everyNth = 1) : QObject(parent), m_everyNth(everyNth) { }
    ~FrameTimer() override { stop(); }

    void start();
    void stop();
    [[nodiscard]] bool isActive() const { return static_cast<bool>(m_beat); }

    /// From now on the timer starts and stops by itself: it beats while the widget, which owns it, is to be seen in an
    /// active window.
    void follow(QWidget* widget);
    /// Follows no longer, and stops.
    void unfollow();

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void timeout();

private:
    void beat();
    void adapt();

    int m_everyNth;
    QMetaObject::Connection m_beat;
    QWidget* m_followed = nullptr;
};

} // namespace torvelane
