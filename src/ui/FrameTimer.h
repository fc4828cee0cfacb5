#pragma once

#include <QObject>

namespace torvelane {

/// The beat of what moves all the time: 33 ms, and the same beat for everybody, so that the window paints one frame for
/// all of them together instead of one for each. GUI thread.
class FrameTimer : public QObject {
    Q_OBJECT

public:
    static constexpr int intervalMs = 33;

    explicit FrameTimer(QObject* parent = nullptr) : QObject(parent) { }
    ~FrameTimer() override { stop(); }

    void start();
    void stop();
    [[nodiscard]] bool isActive() const { return static_cast<bool>(m_beat); }

Q_SIGNALS:
    void timeout();

private:
    QMetaObject::Connection m_beat;
};

} // namespace torvelane
