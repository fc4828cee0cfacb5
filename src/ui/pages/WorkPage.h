#pragma once

#include "ui/pages/Page.h"

#include <QPointer>

class QBoxLayout;
class QVBoxLayout;

namespace torvelane {

class ScrollColumn;
class Spinner;
class TextLabel;

/// Whether a worker may hold a copy: nothing that points at what somebody else owns, and nothing of the GUI thread.
template <typename Value>
inline constexpr bool isForWorkers = !std::is_pointer_v<Value> && !std::is_base_of_v<QObject, Value>;
template <typename Shared>
inline constexpr bool isForWorkers<std::shared_ptr<Shared>> = !std::is_base_of_v<QObject, Shared>;
template <typename Guarded>
inline constexpr bool isForWorkers<QPointer<Guarded>> = false;

/// What a worker does: `function` on copies of `values`. The function captures nothing, so that a worker can reach neither
/// a page nor anything else that may be gone before it ends. An optimiser goes with it as std::shared_ptr.
template <typename Function, typename... Values>
[[nodiscard]] auto job(Function function, Values... values)
{
    static_assert(std::is_empty_v<Function>, "captures nothing: pass it values");
    static_assert((isForWorkers<Values> && ...), "a worker never touches what it doesn't own");
    return [function, ... values = std::move(values)] { return function(values...); };
}

/// The scaffold of the pages that read or change the system through an optimiser of their own: a column that scrolls, a
/// status row, and the one way to run a worker.
///
/// Workers run on QThreadPool::globalInstance(). They get values and shared ownership of the optimiser that they drive,
/// never a widget, so that a page may go while its worker runs on. Everything else is the GUI thread's.
class WorkPage : public Page {
    Q_OBJECT

public:
    /// Reads and scans are left alone: they change nothing.
    void finishWork() override;

    [[nodiscard]] bool isBusy() const { return m_busy; }

protected:
    explicit WorkPage(QWidget* parent = nullptr);

    /// Where the content goes; spacing 16.
    [[nodiscard]] QVBoxLayout* column() const;

    /// What the content's widgets are born in.
    [[nodiscard]] QWidget* content() const;

    /// For a page with a long list: it scrolls one picture of the window's background, which stands still there.
    void carryBackdrop();

    /// Holds the scrolling column only. What is inserted above it stays in place.
    [[nodiscard]] QVBoxLayout* outer() const { return m_outer; }

    /// Appends a spinner, the status ("Ready") and a stretch as one row, and below it the place of the advice. Once in a
    /// page's build().
    void addStatusRow(QBoxLayout* layout);

    /// An empty text stands for "Ready". Assistive technology hears of the last one when the event loop runs again.
    void setStatus(const QString& text);

    /// What the user may do next, such as after a failure. Stands below the status until work begins or another advice is
    /// given; none for an empty text.
    void setAdvice(const QString& text);

    /// Shows what work has led to in its own words: as the status, and if it has failed with `advice` and in a dialog of
    /// this title, too. The page may be gone afterwards.
    void report(const QString& title, bool ok, const QString& message, const QString& advice);

    /// Brings the controls in line with isBusy() and with the optimiser. Called when work begins and when it has ended,
    /// before its result is shown.
    virtual void refreshControls() { }

    /// Works on the system: `work`, a job(), on a worker, then `done(result)` on the GUI thread. Ignored while another such
    /// call runs; questions are asked before. `done` isn't called for work that finishWork() dropped, and the next step
    /// of a chain, begun by `done`, is dropped if finishWork() was called since the chain began.
    template <typename Work, typename Done>
    void run(const QString& status, Work work, Done done);

    /// As run(), for long work that changes nothing: finishWork() leaves it alone.
    template <typename Work, typename Done>
    void scan(const QString& status, Work work, Done done);

    /// Reads from the system in the background, beside work or without it. Of two reads only the later one's result is
    /// shown.
    template <typename Work, typename Done>
    void read(Work work, Done done);

private:
    void beginWork(const QString& status);
    void endWork();
    [[nodiscard]] QWidget* firstToUse(QWidget* start) const;
    void announceSoon();
    void announceStatus();

    QVBoxLayout* m_outer;
    ScrollColumn* m_scroll;
    Spinner* m_spinner = nullptr;
    TextLabel* m_status = nullptr;
    TextLabel* m_advice = nullptr;
    QPointer<QWidget> m_focusBefore; ///< Had the keyboard when the work began; null if that wasn't on this page.
    QPointer<QWidget> m_focusMeanwhile;
    bool m_busy = false; ///< The only guard against double work; the GUI thread's.
    int m_reads = 0;
    int m_finishes = 0;          ///< Calls of finishWork().
    bool m_endsChain = false;    ///< The result that is shown just now is of work that was finished early.
    bool m_isAnnouncing = false; ///< The event loop is going to announce the status.
    QFuture<void> m_work;        ///< Of run(); what has ended doesn't keep anybody waiting.
};

template <typename Work, typename Done>
void WorkPage::run(const QString& status, Work work, Done done)
{
    if (m_busy || m_endsChain)
        return;
    beginWork(status);
    m_work =
        QFuture<void>(launch(QThreadPool::globalInstance(), work, [this, done, begun = m_finishes](const auto& result) {
            endWork();
            if (!result)
                return;
            // The page may be gone after a message.
            const QPointer<WorkPage> guard(this);
            m_endsChain = begun != m_finishes;
            done(*result);
            if (guard)
                m_endsChain = false;
        }));
}

template <typename Work, typename Done>
void WorkPage::scan(const QString& status, Work work, Done done)
{
    if (m_busy)
        return;
    beginWork(status);
    const auto show = [this, done](const auto& result) {
        endWork();
        if (result) // It always is: nobody drops this work. The compiler doesn't know.
            done(*result);
    };
    launch(QThreadPool::globalInstance(), work, show, Waiting::Stays);
}

template <typename Work, typename Done>
void WorkPage::read(Work work, Done done)
{
    const auto show = [this, done, number = ++m_reads](const auto& result) {
        if (result && number == m_reads)
            done(*result);
    };
    launch(QThreadPool::globalInstance(), work, show, Waiting::Stays);
}

} // namespace torvelane
