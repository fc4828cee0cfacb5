#include "ui/pages/ScrollColumn.h"

#include "ui/controls/QuietScrollArea.h"
#include "ui/windows/HeroWindow.h"

#include <QEvent>
#include <QVBoxLayout>

namespace torvelane {

ScrollColumn::ScrollColumn(QWidget* parent)
    : OutsideStyleSheet(parent)
    , m_content(new OutsideStyleSheet<QWidget>(this))
    , m_column(new QVBoxLayout(m_content))
{
    m_content->setAutoFillBackground(false);
    m_column->setContentsMargins(0, 0, 6, 0);
    m_column->setSpacing(16);
}

void ScrollColumn::assemble()
{
    if (m_area)
        return;
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    m_area = new QuietScrollArea(this);
    m_area->setWidget(m_content);
    whole->addWidget(m_area);
    whole->activate();
}

bool ScrollColumn::event(QEvent* event)
{
    if (event->type() == QEvent::Polish)
        assemble();
    return OutsideStyleSheet::event(event);
}

int ScrollColumn::viewportWidth()
{
    assemble();
    return m_area->viewport()->width();
}

void ScrollColumn::carryBackdrop()
{
    m_carriesBackdrop = true;
    refreshBackdrop();
}

void ScrollColumn::showEvent(QShowEvent* event)
{
    OutsideStyleSheet::showEvent(event);
    refreshBackdrop();
}

/// The picture goes with the page: twenty pages would keep one each.
void ScrollColumn::hideEvent(QHideEvent* event)
{
    OutsideStyleSheet::hideEvent(event);
    if (m_area && m_carriesBackdrop) {
        m_area->viewport()->setAutoFillBackground(false);
        m_area->viewport()->setPalette({});
    }
}

void ScrollColumn::refreshBackdrop()
{
    HeroWindow* const hero = HeroWindow::around(*this);
    if (!m_carriesBackdrop || !hero || !m_area || !isVisible())
        return;
    if (!m_backgroundHooked) {
        connect(hero, &HeroWindow::backgroundRebuilt, this, &ScrollColumn::refreshBackdrop, Qt::QueuedConnection);
        m_backgroundHooked = true;
    }
    QWidget* const viewport = m_area->viewport();
    const QPixmap slice = hero->backgroundSlice(QRect(viewport->mapTo(hero, QPoint(0, 0)), viewport->size()));
    if (slice.isNull())
        return;
    QPalette colors = viewport->palette();
    colors.setBrush(QPalette::Window, QBrush(slice));
    viewport->setPalette(colors);
    viewport->setAutoFillBackground(true);
    viewport->update();
    hero->addCover(viewport);
}

} // namespace torvelane
