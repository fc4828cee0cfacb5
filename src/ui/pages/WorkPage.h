#pragma once

#include "ui/pages/Page.h"

class QBoxLayout;
class QLabel;
class QVBoxLayout;

namespace torvelane {

class ScrollColumn;
class Spinner;

/// The scaffold of the pages that read or change the system through an optimiser of their own: a column that scrolls, a
/// status row, and the one way to run a worker.
///
/// Workers run on QThreadPool::globalInstance(). They get values and shared ownership of the optimiser that they drive,
/// never a widget, so that a page may go while its worker runs on. Everything else is the GUI thread's.
class WorkPage : public Page {
    Q_OBJECT

public:
    /// Reads are left alone: they change nothing.
    void finishWork() override;

    [[nodiscard]] bool isBusy() const { return m_busy; }

protected:
    explicit WorkPage(QWidget* parent = nullptr);

    /// Where the content goes; spacing 16.
    [[nodiscard]] QVBoxLayout* column() const;

    /// Holds the scrolling column only. What is inserted above it stays in place.
    [[nodiscard]] QVBoxLayout* outer() const { return m_outer; }

    /// Appends a spinner, the status ("Ready") and a stretch as one row. Once in a page's constructor.
    void addStatusRow(QBoxLayout* layout);

    /// An empty text stands for "Ready".
    void setStatus(const QString& text);

    /// Brings the controls in line with isBusy() and with the optimiser. Called when work begins and when it has ended,
    /// before its result is shown.
    virtual void refreshControls() { }

    /// Works on the system: `work(*optimizer)` on a worker, then `done(result)` on the GUI thread. Ignored while another
    /// such call runs; questions are asked before. `done` isn't called for work that finishWork() dropped.
    template <typename Optimizer, typename Work, typename Done>
    void run(const QString& status, const std::shared_ptr<Optimizer>& optimizer, Work work, Done done)
    {
        static_assert(!std::is_base_of_v<QObject, Optimizer>, "a worker never touches what belongs to the GUI thread");
        run(
            status, [optimizer, work] { return work(*optimizer); }, done);
    }

    /// The same for a function that needs nothing but the values that `work` captures.
    template <typename Work, typename Done>
    void run(const QString& status, Work work, Done done);

    /// Reads from the system in the background, beside work or without it. Of two reads only the later one's result is
    /// shown.
    template <typename Work, typename Done>
    void read(Work work, Done done);

private:
    void beginWork(const QString& status);
    void endWork();

    QVBoxLayout* m_outer;
    ScrollColumn* m_scroll;
    Spinner* m_spinner = nullptr;
    QLabel* m_status = nullptr;
    bool m_busy = false; ///< The only guard against double work; the GUI thread's.
    int m_reads = 0;
    QFuture<void> m_work;
};

template <typename Work, typename Done>
void WorkPage::run(const QString& status, Work work, Done done)
{
    if (m_busy)
        return;
    beginWork(status);
    m_work = QFuture<void>(launch(QThreadPool::globalInstance(), work, [this, done](const auto& result) {
        endWork();
        if (result)
            done(*result);
    }));
}

template <typename Work, typename Done>
void WorkPage::read(Work work, Done done)
{
    const auto show = [this, done, number = ++m_reads](const auto& result) {
        if (number == m_reads)
            done(*result);
    };
    launch(QThreadPool::globalInstance(), work, show, Waiting::Stays);
}

} // namespace torvelane
