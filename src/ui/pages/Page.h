#pragma once

#include "core/Tier.h"
#include "ui/theme/OutsideStyleSheet.h"

#include <QFutureWatcher>
#include <QPromise>
#include <QtConcurrent>

#include <atomic>
#include <memory>
#include <optional>
#include <type_traits>

namespace torvelane {

/// What a container knows of a page, whatever it shows. The container owns it; it lives on the GUI thread, for as long as
/// the session.
class Page : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    using OutsideStyleSheet::OutsideStyleSheet;

    /// Whether the page shows by itself what the user's tier doesn't cover. Any other page is locked as a whole.
    [[nodiscard]] virtual bool locksItself() const { return false; }

    /// Called whenever the user's tier has changed.
    virtual void onTierChanged(Tier tier);

    /// Called before applied changes are put back, because the session ends or the tier falls: drops the work that hasn't
    /// begun and waits for the rest, so that no page changes the system during the reverts or after them. Blocks.
    virtual void finishWork() { }

Q_SIGNALS:
    /// Asks for the tab with this key (see Navigation.h).
    void navigateRequested(const QString& sectionKey);

protected:
    /// Makes the content: once, when the page joins the window or is first shown. What nobody has come to yet costs a start
    /// nothing. Until then the page is empty, and only its container calls it.
    virtual void build() { }

    bool event(QEvent* event) override;

    /// AppDialog::confirm over the page's window. False also if the page was deleted while the question stood: touch
    /// nothing of the page then.
    [[nodiscard]] bool confirm(const QString& title, const QString& text, const QString& acceptText,
                               const QString& cancelText = QString(), bool destructive = false);

    /// AppDialog::info over the page's window. The page may be gone afterwards.
    void showMessage(const QString& title, const QString& text);

    enum class Waiting { MayBeDropped, Stays };

    /// Runs `work()` on the pool and hands what it returns to `done(const std::optional<Result>&)` on the GUI thread,
    /// without a value if the work was dropped before it began. Nobody is called once the page or its window is gone.
    template <typename Work, typename Done>
    auto launch(QThreadPool* pool, Work work, Done done, Waiting waiting = Waiting::MayBeDropped);

    /// What was launched until now and hasn't begun doesn't begin any more. It takes its turn on the pool all the same,
    /// and ends there at once: a pool that is cleared forgets to say that anything has ended.
    void dropWaiting();

private:
    [[nodiscard]] bool isRetired() const;

    bool m_isBuilt = false;
    std::shared_ptr<std::atomic_bool> m_dropped = std::make_shared<std::atomic_bool>(false); ///< Shared with workers.
};

template <typename Work, typename Done>
auto Page::launch(QThreadPool* pool, Work work, Done done, Waiting waiting)
{
    using Result = std::invoke_result_t<Work>;
    const auto dropped = waiting == Waiting::MayBeDropped ? m_dropped : nullptr;
    const QFuture<Result> future = QtConcurrent::run(pool, [dropped, work](QPromise<Result>& promise) {
        if (!dropped || !*dropped)
            promise.addResult(work());
    });
    auto* const watcher = new QFutureWatcher<Result>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, done] {
        watcher->deleteLater();
        if (isRetired())
            return;
        const QFuture<Result> finished = watcher->future();
        done(finished.resultCount() > 0 ? std::optional<Result>(finished.result()) : std::nullopt);
    });
    watcher->setFuture(future);
    return future;
}

} // namespace torvelane
