#include "ui/pages/WorkPage.h"

#include "core/Translate.h"
#include "ui/controls/AccessibleRole.h"
#include "ui/controls/Spinner.h"
#include "ui/pages/ScrollColumn.h"

#include <QLabel>
#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int spinnerDiameter = 14;

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

void WorkPage::addStatusRow(QBoxLayout* layout)
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(8);
    layout->addLayout(row);
    QWidget* const parent = row->parentWidget();
    m_spinner = new Spinner(spinnerDiameter, parent);
    m_status = new QLabel(parent);
    m_status->setObjectName(QStringLiteral("Muted"));
    m_status->setTextFormat(Qt::PlainText);
    m_status->setWordWrap(true);
    setAccessibleRole(m_status, QAccessible::StatusBar);
    row->addWidget(m_spinner, 0, Qt::AlignVCenter);
    row->addWidget(m_status, 1);
    setStatus(QString());
}

void WorkPage::setStatus(const QString& text)
{
    m_status->setText(text.isEmpty() ? translate("WorkPage", "Ready") : text);
    if (m_isAnnouncing)
        return;
    m_isAnnouncing = true;
    QMetaObject::invokeMethod(this, &WorkPage::announceStatus, Qt::QueuedConnection);
}

/// Once for all that a turn of the event loop has shown: between two steps of a chain the page is ready for no time.
void WorkPage::announceStatus()
{
    m_isAnnouncing = false;
    if (m_status->accessibleName() != m_status->text())
        m_status->setAccessibleName(m_status->text());
}

void WorkPage::beginWork(const QString& status)
{
    m_busy = true;
    m_spinner->start();
    setStatus(status);
    refreshControls();
}

void WorkPage::endWork()
{
    m_busy = false;
    m_spinner->stop();
    setStatus(QString());
    refreshControls();
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
