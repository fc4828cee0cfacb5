#include "ui/controls/TextLabel.h"

#include "ui/controls/PaintedText.h"

#include <QEvent>
#include <QHash>
#include <QPainter>
#include <QStyle>

namespace torvelane {

namespace {

/// Asked for once a name: the style sheet is set before any window exists, and stays.
const TextLook& knownLook(const QString& objectName)
{
    static QHash<QString, TextLook> known;
    const auto found = known.constFind(objectName);
    return found != known.cend() ? *found : *known.insert(objectName, lookOf(objectName));
}

} // namespace

TextLabel::TextLabel(const QString& objectName, const QString& text, QWidget* parent) : OutsideStyleSheet(text, parent)
{
    setObjectName(objectName);
    setTextFormat(Qt::PlainText);
}

bool TextLabel::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::Polish: {
        const TextLook& look = knownLook(objectName());
        if (!m_color.isValid())
            m_color = look.color;
        if (!testAttribute(Qt::WA_SetFont))
            setFont(look.font);
        break;
    }
    case QEvent::Enter:
    case QEvent::MouseButtonPress:
        if (m_isSelectable)
            beginSelecting();
        break;
    default:
        break;
    }
    return OutsideStyleSheet::event(event);
}

void TextLabel::beginSelecting()
{
    if (textInteractionFlags() == Qt::TextSelectableByMouse)
        return;
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, m_color);
    setPalette(colors);
}

void TextLabel::paintEvent(QPaintEvent* event)
{
    if (textInteractionFlags() & Qt::TextSelectableByMouse) {
        OutsideStyleSheet::paintEvent(event);
        return;
    }
    const bool leftwards = text().isRightToLeft();
    const Qt::Alignment side = QStyle::visualAlignment(leftwards ? Qt::RightToLeft : Qt::LeftToRight, alignment());
    QPainter painter(this);
    painter.setPen(m_color);
    painter.drawText(contentsRect(),
                     static_cast<int>(side) | (wordWrap() ? Qt::TextWordWrap : 0)
                         | (leftwards ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight),
                     text());
}

} // namespace torvelane
