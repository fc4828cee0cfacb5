#include "ui/main/PageStack.h"

#include <QPixmap>
#include <QRegion>

#include <algorithm>

namespace torvelane {

namespace {

/// Lays out a page that isn't shown. Qt does that for whoever wants a picture of it, be it one of a single pixel; left
/// undone, it would fall on the first frame of somebody's fade.
void layOut(QWidget& page)
{
    page.resize(page.parentWidget()->size());
    page.ensurePolished();
    QPixmap pixel(1, 1);
    page.render(&pixel, QPoint(), QRegion(0, 0, 1, 1), QWidget::RenderFlags());
}

} // namespace

PageStack::PageStack(QWidget* parent) : OutsideStyleSheet(parent) { }

PageStack::~PageStack() = default;

int PageStack::addPage(QWidget* page)
{
    m_pages.push_back({.widget = page, .outside = std::unique_ptr<QWidget>(page)});
    if (m_current < 0)
        setCurrentPage(0);
    return pageCount() - 1;
}

void PageStack::setCurrentPage(int index)
{
    if (index < 0 || index >= pageCount())
        return;
    m_current = index;
    if (isVisible())
        showCurrent();
}

QWidget* PageStack::joinNext()
{
    const auto waiting = std::ranges::find_if(m_pages, [](const Page& page) { return page.outside != nullptr; });
    if (waiting == m_pages.end())
        return nullptr;
    join(*waiting);
    layOut(*waiting->widget);
    return waiting->widget;
}

void PageStack::showEvent(QShowEvent* event)
{
    if (m_current >= 0)
        showCurrent();
    OutsideStyleSheet::showEvent(event);
}

void PageStack::join(Page& page)
{
    if (page.outside)
        addWidget(page.outside.release());
}

void PageStack::showCurrent()
{
    Page& page = m_pages.at(static_cast<std::size_t>(m_current));
    join(page);
    setCurrentWidget(page.widget);
}

} // namespace torvelane
