#pragma once

#include <QApplication>
#include <QEvent>
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace torvelane::bench {

/// One window as bench_ui looks at it from outside. It says "painted" once the window has been painted for the first
/// time. Then, by the arguments:
///
///     wait                     stays until its standard input is closed
///     settle                   says "settled" once all pages have joined the window, and then does the same
///     cpu <state> <seconds>    brings the window into a state (active, inactive, minimised), and after that time says
///                              how much processor time it took, in seconds
class Probe : public QObject {
public:
    /// `content` is the widget that covers the window, if there is one.
    explicit Probe(QWidget* window, QWidget* content = nullptr) : m_window(window)
    {
        (content ? content : window)->installEventFilter(this);
    }

    int run()
    {
        m_window->show();
        m_window->activateWindow();
        return QApplication::exec();
    }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && !m_painted) {
            m_painted = true;
            // The children are painted after the window, all in one event.
            QTimer::singleShot(0, this, &Probe::goOn);
        }
        return false;
    }

private:
    void goOn()
    {
        say(QStringLiteral("painted"));
        const QStringList arguments = QCoreApplication::arguments();
        if (arguments.value(1) == QLatin1String("cpu")) {
            bringInto(arguments.value(2));
            QTimer::singleShot(settleMs, this, [this, seconds = arguments.value(3).toInt()] { measure(seconds); });
        } else {
            if (arguments.value(1) == QLatin1String("settle"))
                QTimer::singleShot(settleMs, this, [] { say(QStringLiteral("settled")); });
            connect(new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this), &QSocketNotifier::activated, qApp,
                    &QCoreApplication::quit);
        }
    }

    void bringInto(const QString& state)
    {
        if (state == QLatin1String("minimised")) {
            m_window->showMinimized();
        } else if (state == QLatin1String("inactive")) {
            m_other.resize(100, 100);
            m_other.show();
            m_other.activateWindow();
        }
    }

    void measure(int seconds)
    {
        QTimer::singleShot(seconds * 1000, this, [before = processorSeconds()] {
            say(QString::number(processorSeconds() - before));
            QCoreApplication::quit();
        });
    }

    static double processorSeconds()
    {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        const auto seconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    }

    static void say(const QString& line) { QTextStream(stdout) << line << Qt::endl; }

    static constexpr int settleMs = 4000; ///< For the work right after a window is shown: the pages are made ready.

    QWidget* m_window;
    QWidget m_other;
    bool m_painted = false;
};

} // namespace torvelane::bench
