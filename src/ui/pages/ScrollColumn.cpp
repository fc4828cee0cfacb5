#include "ui/pages/ScrollColumn.h"

#include "ui/windows/HeroWindow.h"

#include <QVBoxLayout>

namespace torvelane {

namespace {

HeroWindow* heroWindowAround(const QWidget& widget)
{
    for (QWidget* parent = widget.parentWidget(); parent; parent = parent->parentWidget()) {
        if (auto* const hero = qobject_cast<HeroWindow*>(parent))
            return hero;
    }
    return nullptr;
}

} // namespace

ScrollColumn::ScrollColumn(QWidget* parent) : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // No stop for the Tab key where nothing shows it. The keys that scroll come here from what is focused inside.
    setFocusPolicy(Qt::NoFocus);
    viewport()->setAutoFillBackground(false);
    // From the outside in: a widget that changes its parent takes all below it through the style once more.
    auto* const content = new QWidget(viewport());
    content->setAutoFillBackground(false);
    setWidget(content);
    m_column = new QVBoxLayout(content);
    m_column->setContentsMargins(0, 0, 6, 0);
    m_column->setSpacing(16);
}

void ScrollColumn::carryBackdrop()
{
    m_carriesBackdrop = true;
    refreshBackdrop();
}

void ScrollColumn::showEvent(QShowEvent* event)
{
    QScrollArea::showEvent(event);
    refreshBackdrop();
}

void ScrollColumn::refreshBackdrop()
{
    HeroWindow* const hero = heroWindowAround(*this);
    if (!m_carriesBackdrop || !hero || !isVisible())
        return;
    if (!m_backgroundHooked) {
        connect(hero, &HeroWindow::backgroundRebuilt, this, &ScrollColumn::refreshBackdrop, Qt::QueuedConnection);
        m_backgroundHooked = true;
    }
    const QPixmap slice = hero->backgroundSlice(QRect(viewport()->mapTo(hero, QPoint(0, 0)), viewport()->size()));
    if (slice.isNull())
        return;
    QPalette colors = viewport()->palette();
    colors.setBrush(QPalette::Window, QBrush(slice));
    viewport()->setPalette(colors);
    viewport()->setAutoFillBackground(true);
    viewport()->update();
    hero->addCover(viewport());
}

} // namespace torvelane
