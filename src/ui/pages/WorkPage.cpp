#include "ui/pages/WorkPage.h"

#include "core/Translate.h"
#include "ui/controls/AccessibleRole.h"
#include "ui/controls/GlassCard.h"
#include "ui/controls/Spinner.h"
#include "ui/pages/ScrollColumn.h"
#include "ui/theme/TextBreaks.h"
#include "ui/theme/Theme.h"

#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int spinnerDiameter = 14;
constexpr int adviceSpacing = 6;

} // namespace

WorkPage::WorkPage(QWidget* parent) : Page(parent), m_outer(new QVBoxLayout(this)), m_scroll(new ScrollColumn(this))
{
    m_outer->setContentsMargins(0, 0, 0, 0);
    m_outer->addWidget(m_scroll);
}

QVBoxLayout* WorkPage::column() const
{
    return m_scroll->column();
}

QWidget* WorkPage::content() const
{
    return m_scroll->content();
}

void WorkPage::carryBackdrop()
{
    m_scroll->carryBackdrop();
}

void WorkPage::addStatusRow(QBoxLayout* layout)
{
    auto* const rows = new QVBoxLayout;
    rows->setSpacing(adviceSpacing);
    layout->addLayout(rows);
    auto* const row = new QHBoxLayout;
    row->setSpacing(8);
    rows->addLayout(row);
    QWidget* const parent = row->parentWidget();
    m_spinner = new Spinner(spinnerDiameter, parent);
    m_status = makeText(u"Muted", QString(), parent);
    setAccessibleRole(m_status, QAccessible::StatusBar);
    row->addWidget(m_spinner, 0, Qt::AlignVCenter);
    row->addWidget(m_status, 1);
    m_advice = makeText(u"WarnTag", QString(), parent);
    m_advice->hide();
    rows->addWidget(m_advice);
    setStatus(QString());
}

void WorkPage::setStatus(const QString& text)
{
    m_status->setText(text.isEmpty() ? translate("WorkPage", "Ready") : withBreaks(text));
    announceSoon();
}

void WorkPage::announceSoon()
{
    if (m_isAnnouncing)
        return;
    m_isAnnouncing = true;
    QMetaObject::invokeMethod(this, &WorkPage::announceStatus, Qt::QueuedConnection);
}

/// Once for all that a turn of the event loop has shown: between two steps of a chain the page is ready for no time.
void WorkPage::announceStatus()
{
    m_isAnnouncing = false;
    const QString said = m_advice->text().isEmpty() ? m_status->text() : m_status->text() + u' ' + m_advice->text();
    if (m_status->accessibleName() != said)
        m_status->setAccessibleName(said);
}

void WorkPage::setAdvice(const QString& text)
{
    m_advice->setText(text);
    setShown(m_advice, !text.isEmpty());
    announceSoon();
}

void WorkPage::report(const QString& title, bool ok, const QString& message, const QString& advice)
{
    setStatus(message);
    if (ok)
        return;
    setAdvice(advice);
    showMessage(title, message);
}

void WorkPage::beginWork(const QString& status)
{
    m_busy = true;
    m_spinner->start();
    setStatus(status);
    setAdvice(QString());
    QWidget* const focused = window()->focusWidget();
    m_focusBefore = focused && isAncestorOf(focused) ? focused : nullptr;
    // A control that is disabled with the keyboard on it would pass it on, from one to the next as these follow, and the
    // page would scroll to the last.
    if (m_focusBefore)
        m_focusBefore->clearFocus();
    refreshControls();
    if (m_focusBefore && m_focusBefore->isEnabled())
        m_focusBefore->setFocus();
    m_focusMeanwhile = window()->focusWidget();
}

/// The first in the page's order, from `start` on, that takes the keyboard now; null if there is none.
QWidget* WorkPage::firstToUse(QWidget* start) const
{
    QWidget* candidate = start;
    do {
        if (isAncestorOf(candidate) && candidate->isEnabled() && candidate->isVisible()
            && (candidate->focusPolicy() & Qt::TabFocus))
            return candidate;
        candidate = candidate->nextInFocusChain();
    } while (candidate != start);
    return nullptr;
}

void WorkPage::endWork()
{
    m_busy = false;
    m_spinner->stop();
    setStatus(QString());
    refreshControls();
    // The keyboard goes back to where it was, or to what follows there, unless the user has taken it elsewhere.
    if (m_focusBefore && window()->focusWidget() == m_focusMeanwhile) {
        if (QWidget* const target = firstToUse(m_focusBefore))
            target->setFocus();
    }
}

void WorkPage::finishWork()
{
    if (!m_busy)
        return;
    ++m_finishes;
    dropWaiting();
    // Work that no thread has taken up yet is taken up by this one, and finds itself dropped.
    m_work.waitForFinished();
}

} // namespace torvelane
