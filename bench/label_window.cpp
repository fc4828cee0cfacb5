// The floor for Torvelane's window: one with a label, or with the first argument "blit" one that does nothing
// but put a picture of its size on the screen thirty times a second.

#include "Probe.h"

#include <QLabel>
#include <QMainWindow>
#include <QPainter>

namespace {

constexpr QSize windowSize(1080, 700);

class BlitWindow : public QWidget {
public:
    BlitWindow() : m_picture(windowSize)
    {
        m_picture.fill(Qt::darkBlue);
        setAttribute(Qt::WA_OpaquePaintEvent);
        m_timer.callOnTimeout(this, [this] { update(); });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.start(33);
    }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).drawPixmap(0, 0, m_picture); }

private:
    QPixmap m_picture;
    QTimer m_timer;
};

int runBlits(int argc, char** argv)
{
    QApplication application(argc, argv);
    BlitWindow window;
    window.resize(windowSize);
    return torvelane::bench::Probe(&window).run();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && QByteArrayView(argv[1]) == "blit") {
        argv[1] = argv[0];
        return runBlits(argc - 1, argv + 1);
    }
    const QApplication application(argc, argv);
    QMainWindow window;
    window.setCentralWidget(new QLabel(QStringLiteral("Torvelane")));
    window.resize(windowSize);
    return torvelane::bench::Probe(&window).run();
}
