#include "ui/pages/Page.h"

#include "ui/controls/AppDialog.h"

#include <QEvent>
#include <QPointer>

#include <utility>

namespace torvelane {

void Page::onTierChanged(Tier) { }

bool Page::event(QEvent* event)
{
    if (event->type() == QEvent::Polish && !std::exchange(m_isBuilt, true))
        build();
    return OutsideStyleSheet::event(event);
}

bool Page::confirm(const QString& title, const QString& text, const QString& acceptText, const QString& cancelText,
                   bool destructive)
{
    // The session can end, and this page with it, while the question stands.
    const QPointer<Page> guard(this);
    const bool accepted = AppDialog::confirm(this, title, text, acceptText, cancelText, destructive);
    return guard && accepted;
}

void Page::showMessage(const QString& title, const QString& text)
{
    AppDialog::info(this, title, text);
}

void Page::dropWaiting()
{
    *m_dropped = true;
    m_dropped = std::make_shared<std::atomic_bool>(false);
}

/// The window of a session that has ended waits, hidden, to be deleted. Under the message that says so an event loop runs,
/// in which late results still arrive.
bool Page::isRetired() const
{
    return window() != this && !window()->isVisible();
}

} // namespace torvelane
