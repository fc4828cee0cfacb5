#include "ui/controls/ElidedLabel.h"

#include "ui/controls/PaintedText.h"

#include <QResizeEvent>

namespace torvelane {

void ElidedLabel::setWhole(const QString& text)
{
    if (m_whole == text)
        return;
    m_whole = text;
    setAccessibleName(text);
    shorten();
}

void ElidedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    shorten();
}

void ElidedLabel::shorten()
{
    setText(fontMetrics().elidedText(m_whole, Qt::ElideRight, contentsRect().width()));
    setToolTip(text() == m_whole ? QString() : richTooltip(m_whole));
}

} // namespace torvelane
