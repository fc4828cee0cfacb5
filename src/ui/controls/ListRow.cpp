#include "ui/controls/ListRow.h"

#include "ui/controls/AccessibleRole.h"
#include "ui/controls/PaintedText.h"
#include "ui/theme/Theme.h"

#include <QHelpEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <QToolTip>

#include <algorithm>

namespace torvelane {

namespace {

constexpr int minimumRowWidth = 240;
constexpr int lineSpacing = 4;
constexpr int columnSpacing = 14;
constexpr int buttonSpacing = 10;

struct Looks {
    TextLook name{bodyFont(14, QFont::DemiBold), palette::ink};
    TextLook details = lookOf(QStringLiteral("Faint"));
    TextLook figure = lookOf(QStringLiteral("Muted"));
};

/// Asked for once: the style sheet is set before any window exists, and stays.
const Looks& looks()
{
    static const Looks known;
    return known;
}

} // namespace

ListRow::ListRow(const QString& name, const QString& details, QWidget* parent, Details kind, const QMargins& margins)
    : OutsideStyleSheet(parent)
    , m_name(name)
    , m_details(details)
    , m_kind(kind)
    , m_margins(margins)
{
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setAccessibleRole(this, QAccessible::ListItem);
    setAccessibleName(name);
    setAccessibleDescription(details);
}

void ListRow::setFigure(const QString& figure)
{
    if (m_figure == figure)
        return;
    m_figure = figure;
    setAccessibleValue(this, figure);
    updateGeometry();
    update();
}

QPushButton* ListRow::addButton(const QString& text)
{
    auto* const button = new QPushButton(text, this);
    button->setProperty("variant", QStringLiteral("ghost"));
    button->setCursor(Qt::PointingHandCursor);
    button->setAccessibleName(QStringLiteral("%1, %2").arg(text, m_name));
    m_buttons.append(button);
    return button;
}

QSize ListRow::buttonsSize() const
{
    QSize size;
    for (const QPushButton* const button : m_buttons) {
        const QSize one = button->sizeHint().expandedTo(button->minimumSize());
        size = QSize(size.width() + one.width() + (size.width() > 0 ? buttonSpacing : 0),
                     std::max(size.height(), one.height()));
    }
    return size;
}

int ListRow::figureWidth() const
{
    return m_figure.isEmpty() ? 0 : QFontMetrics(looks().figure.font).horizontalAdvance(m_figure);
}

/// Where name and details stand in a row of this width, from left to right.
QRect ListRow::textArea(int width) const
{
    int right = width - m_margins.right();
    for (const int column : {buttonsSize().width(), figureWidth()}) {
        if (column > 0)
            right -= column + columnSpacing;
    }
    return {m_margins.left(), m_margins.top(), std::max(1, right - m_margins.left()),
            height() - m_margins.top() - m_margins.bottom()};
}

QString ListRow::shortName(int width) const
{
    return QFontMetrics(looks().name.font).elidedText(m_name, Qt::ElideRight, width);
}

QString ListRow::shortDetails(int width) const
{
    if (m_kind == Details::Wrapped)
        return m_details;
    return QFontMetrics(looks().details.font).elidedText(m_details, Qt::ElideMiddle, width);
}

/// With the space above them.
int ListRow::detailsHeight(int width) const
{
    if (m_details.isEmpty())
        return 0;
    return lineSpacing
        + (m_kind == Details::Wrapped ? wrappedSize(looks().details, m_details, width).height()
                                      : QFontMetrics(looks().details.font).height());
}

int ListRow::heightForWidth(int width) const
{
    const int texts = QFontMetrics(looks().name.font).height() + detailsHeight(textArea(width).width());
    return m_margins.top() + std::max(texts, buttonsSize().height()) + m_margins.bottom();
}

/// Of details that take one line: what they need in truth depends on the width.
QSize ListRow::sizeHint() const
{
    return {minimumRowWidth, heightForWidth(QWIDGETSIZE_MAX)};
}

bool ListRow::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::LayoutRequest: // A button has another text.
        updateGeometry();
        placeButtons();
        break;
    case QEvent::ToolTip: {
        const QRect area = textArea(width());
        QStringList cut;
        if (shortName(area.width()) != m_name)
            cut.append(m_name);
        if (shortDetails(area.width()) != m_details)
            cut.append(m_details);
        if (cut.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), richTooltip(cut.join(u'\n')), this);
        return true;
    }
    default:
        break;
    }
    return OutsideStyleSheet::event(event);
}

void ListRow::resizeEvent(QResizeEvent* event)
{
    OutsideStyleSheet::resizeEvent(event);
    placeButtons();
}

void ListRow::placeButtons()
{
    int left = width() - m_margins.right() - buttonsSize().width();
    for (QPushButton* const button : std::as_const(m_buttons)) {
        const QSize size = button->sizeHint().expandedTo(button->minimumSize());
        const QRect place(QPoint(left, (height() - size.height()) / 2), size);
        button->setGeometry(QStyle::visualRect(layoutDirection(), rect(), place));
        left += size.width() + buttonSpacing;
    }
}

void ListRow::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    paintGlass(painter, rect(), event->region());
    const auto mirrored = [this](const QRect& area) { return QStyle::visualRect(layoutDirection(), rect(), area); };
    const QRect texts = textArea(width());
    const int nameHeight = QFontMetrics(looks().name.font).height();
    const int below = detailsHeight(texts.width());
    QRect line(texts.left(), (height() - nameHeight - below) / 2, texts.width(), nameHeight);
    drawText(painter, looks().name, mirrored(line), 0, shortName(texts.width()));
    line.setRect(line.left(), line.bottom() + 1 + lineSpacing, line.width(), below - lineSpacing);
    drawText(painter, looks().details, mirrored(line), m_kind == Details::Wrapped ? Qt::TextWordWrap : 0,
             shortDetails(texts.width()));
    if (!m_figure.isEmpty()) {
        const QRect figure(texts.right() + 1 + columnSpacing, 0, figureWidth(), height());
        drawText(painter, looks().figure, mirrored(figure), 0, m_figure);
    }
}

} // namespace torvelane
