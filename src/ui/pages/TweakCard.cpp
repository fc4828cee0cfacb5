#include "ui/pages/TweakCard.h"

#include "core/Translate.h"
#include "ui/controls/GateTransition.h"
#include "ui/controls/PaintedText.h"
#include "ui/pages/AccessibleTweakCard.h"
#include "ui/theme/Theme.h"

#include <QCursor>
#include <QHelpEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>
#include <QStyle>
#include <QToolTip>

#include <algorithm>

namespace torvelane {

namespace {

constexpr int minimumCardWidth = 200;
constexpr double cornerRadius = 8.0;
constexpr QMargins margins(16, 13, 16, 12);
constexpr int spacing = 7;
constexpr int iconSize = 18;
constexpr int iconColumn = 29; ///< The icon and what separates the title from it.
constexpr int dividerHeight = 1;
constexpr int footTopMargin = 4;
constexpr int descriptionLines = 2;
constexpr int signSize = 12; ///< Of the sign before the tag's words.
constexpr int signColumn = 17;
constexpr double lockedBlurRadius = 10.0;
constexpr int blurReach = 25; ///< How far the blur carries color beyond what it blurs.

struct Looks {
    TextLook title = lookOf(QStringLiteral("TweakTitle"));
    TextLook description = lookOf(QStringLiteral("TweakDesc"));
    TextLook warningTag = lookOf(QStringLiteral("WarnTag"));
    TextLook okTag = lookOf(QStringLiteral("OkTag"));
};

/// Asked for once: the style sheet is set before any window exists, and stays.
const Looks& looks()
{
    static const Looks known;
    return known;
}

QColor withAlpha(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

/// The tag without its sign.
QString wordsOf(const QString& tag)
{
    return tag.section(u' ', 1);
}

/// A tick, or a triangle with an exclamation mark. They are painted, since no font of the program has the characters, and
/// for one that is missing Qt goes through all fonts of the system.
void paintSign(QPainter& painter, const QRect& square, bool warns, const QColor& color)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.translate(square.topLeft());
    if (warns) {
        constexpr QPointF triangle[] = {{6, 1.2}, {11.3, 10.8}, {0.7, 10.8}};
        constexpr QPointF mark[] = {{6, 4.6}, {6, 7}};
        painter.drawPolygon(triangle, 3);
        painter.drawLine(mark[0], mark[1]);
        painter.drawPoint(QPointF(6, 8.9));
    } else {
        constexpr QPointF tick[] = {{1.6, 6.6}, {4.4, 9.4}, {10.4, 2.6}};
        painter.drawPolyline(tick, 3);
    }
    painter.restore();
}

} // namespace

TweakCard::TweakCard(Content content, QWidget* parent) : OutsideStyleSheet(parent), m_content(std::move(content))
{
    installTweakCardAccessibility();
    setMinimumWidth(minimumCardWidth);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

QString TweakCard::text(Text which) const
{
    switch (which) {
    case Text::Title:
        return m_content.title;
    case Text::Description:
        return m_content.description;
    case Text::Tag:
        if (m_content.locked)
            return {};
        return m_content.warning.isEmpty() ? translate("SectionTweaksPage", "✓ No warnings")
                                           : translate("SectionTweaksPage", "⚠ Warning");
    }
    return {};
}

QRect TweakCard::textArea(Text which) const
{
    const QRect inside = rect().marginsRemoved(margins);
    const Measures& measures = measuresFor(width());
    const QRect head(inside.topLeft(), QSize(inside.width(), headHeight(measures)));
    switch (which) {
    case Text::Title:
        return mirrored({head.left() + iconColumn, head.top(), head.width() - iconColumn,
                         head.height() - spacing - measures.descriptionHeight});
    case Text::Description:
        return mirrored(
            {head.left(), head.bottom() + 1 - measures.descriptionHeight, head.width(), measures.descriptionHeight});
    case Text::Tag: {
        const QFontMetrics metrics(m_content.warning.isEmpty() ? looks().okTag.font : looks().warningTag.font);
        const QRect foot = footArea();
        const int width = m_content.locked ? 0 : signColumn + metrics.horizontalAdvance(wordsOf(text(Text::Tag)));
        return mirrored({foot.left(), foot.top(), width, foot.height()});
    }
    }
    return {};
}

const TweakCard::Measures& TweakCard::measuresFor(int width) const
{
    if (m_measures.width == width)
        return m_measures;
    m_measures.width = width;
    const int inside = width - margins.left() - margins.right();
    m_measures.titleHeight = wrappedSize(looks().title, m_content.title, inside - iconColumn).height();
    m_measures.description = m_content.isWarning
        ? m_content.description
        : shortened(m_content.description, looks().description.font, inside, descriptionLines);
    m_measures.descriptionHeight = wrappedSize(looks().description, m_measures.description, inside).height();
    return m_measures;
}

int TweakCard::headHeight(const Measures& measures) const
{
    return std::max(measures.titleHeight, iconSize) + spacing + measures.descriptionHeight;
}

int TweakCard::footHeight() const
{
    return std::max(m_control ? m_control->minimumHeight() : 0, QFontMetrics(looks().okTag.font).height());
}

QRect TweakCard::footArea() const
{
    QRect foot = rect().marginsRemoved(margins);
    foot.setTop(foot.bottom() + 1 - footHeight());
    return foot;
}

QRect TweakCard::mirrored(const QRect& area) const
{
    return QStyle::visualRect(layoutDirection(), rect(), area);
}

int TweakCard::heightWith(const Measures& measures) const
{
    return margins.top() + headHeight(measures) + spacing + dividerHeight + spacing + footTopMargin + footHeight()
        + margins.bottom();
}

/// Of texts that take one line: what they need in truth depends on the width.
QSize TweakCard::sizeHint() const
{
    const Measures lines{.titleHeight = QFontMetrics(looks().title.font).height(),
                         .descriptionHeight = QFontMetrics(looks().description.font).height(),
                         .description = {}};
    return {minimumCardWidth, heightWith(lines)};
}

void TweakCard::resizeEvent(QResizeEvent* event)
{
    OutsideStyleSheet::resizeEvent(event);
    if (!m_control)
        return;
    const QRect foot = footArea();
    QRect place = foot;
    if (!m_content.locked) {
        place.setSize(m_control->minimumSize());
        place.moveRight(foot.right());
        place.moveTop(foot.top() + (foot.height() - place.height()) / 2);
    }
    m_control->setGeometry(mirrored(place));
}

bool TweakCard::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::Polish:
        setAccessibleName(m_content.title); // earlier, a start would pay for it
        break;
    case QEvent::Enter:
        setHovered(true);
        break;
    case QEvent::Leave:
        setHovered(isUnderCursor());
        break;
    case QEvent::WindowBlocked:
        // By a dialog, which opens with the cursor over the card and closes with it elsewhere.
        setHovered(false);
        break;
    case QEvent::ToolTip:
        showTooltip(*static_cast<QHelpEvent*>(event));
        return true;
    default:
        break;
    }
    return OutsideStyleSheet::event(event);
}

/// Over the tag what the tweak costs, over a shortened text all of it, and elsewhere what the tweak does.
void TweakCard::showTooltip(const QHelpEvent& event)
{
    QRect area;
    QString text;
    if (const QRect tag = textArea(Text::Tag);
        !m_content.locked && !m_content.warning.isEmpty() && tag.contains(event.pos())) {
        area = tag;
        text = m_content.warning;
    } else if (m_content.effect) {
        text = m_content.effect();
        if (measuresFor(width()).description != m_content.description)
            text.prepend(m_content.description + QStringLiteral("\n\n"));
        if (!m_note.isEmpty())
            text += QStringLiteral("\n\n") + m_note;
    }
    if (text.isEmpty())
        QToolTip::hideText();
    else
        QToolTip::showText(event.globalPos(), richTooltip(text), this, area);
}

void TweakCard::enterEvent(QEnterEvent* event)
{
    setHovered(true);
    OutsideStyleSheet::enterEvent(event);
}

void TweakCard::leaveEvent(QEvent* event)
{
    // Crossing a child also leaves the card; where the cursor really is decides.
    setHovered(isUnderCursor());
    OutsideStyleSheet::leaveEvent(event);
}

bool TweakCard::isUnderCursor() const
{
    return rect().contains(mapFromGlobal(QCursor::pos()));
}

void TweakCard::setHovered(bool hovered)
{
    if (m_hovered == hovered)
        return;
    m_hovered = hovered;
    update();
}

void TweakCard::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath path;
    path.addRoundedRect(area, cornerRadius, cornerRadius);
    QLinearGradient glass(area.topLeft(), area.bottomLeft());
    glass.setColorAt(0, withAlpha(palette::ink, 22));
    glass.setColorAt(1, withAlpha(palette::ink, 11));
    painter.fillPath(path, glass);
    painter.setPen(QPen(m_hovered ? withAlpha(palette::accent, 140) : withAlpha(palette::ink, 26), 1));
    painter.drawPath(path);
    painter.setRenderHint(QPainter::Antialiasing, false);

    const QRect foot = footArea();
    painter.fillRect(foot.left(), foot.top() - footTopMargin - spacing - dividerHeight, foot.width(), dividerHeight,
                     palette::hairline);
    if (m_content.locked) {
        paintBlurredHead(painter);
        return;
    }
    paintHead(painter);
    paintTag(painter);
}

void TweakCard::paintTag(QPainter& painter) const
{
    const bool warns = !m_content.warning.isEmpty();
    const TextLook& look = warns ? looks().warningTag : looks().okTag;
    const QRect tag = textArea(Text::Tag);
    const QRect sign(tag.left(), tag.top() + (tag.height() - signSize + 1) / 2, signSize, signSize);
    paintSign(painter, QStyle::visualRect(layoutDirection(), tag, sign), warns, look.color);
    drawText(painter, look, QStyle::visualRect(layoutDirection(), tag, tag.adjusted(signColumn, 0, 0, 0)), 0,
             wordsOf(text(Text::Tag)));
}

void TweakCard::paintHead(QPainter& painter) const
{
    const QRect inside = rect().marginsRemoved(margins);
    painter.drawPixmap(mirrored(QRect(inside.topLeft(), QSize(iconSize, iconSize))).topLeft(),
                       iconPixmap(m_content.icon, palette::accent, iconSize));
    drawText(painter, looks().title, textArea(Text::Title), Qt::TextWordWrap, m_content.title);
    drawText(painter, looks().description, textArea(Text::Description), Qt::TextWordWrap,
             measuresFor(width()).description);
}

/// From a picture, which is blurred once and not at each frame.
void TweakCard::paintBlurredHead(QPainter& painter)
{
    const qreal ratio = devicePixelRatioF();
    const QRect inside = rect().marginsRemoved(margins);
    const QRect area = QRect(inside.left(), inside.top(), inside.width(), headHeight(measuresFor(width())))
                           .adjusted(-blurReach, -blurReach, blurReach, blurReach);
    const QSize pixels = (QSizeF(area.size()) * ratio).toSize();
    QPixmap blurred;
    if (!QPixmapCache::find(m_blurred, &blurred) || blurred.size() != pixels) {
        QPixmap sharp(pixels);
        sharp.setDevicePixelRatio(ratio);
        sharp.fill(Qt::transparent);
        {
            QPainter content(&sharp);
            content.translate(-area.topLeft());
            paintHead(content);
        }
        blurred = GateTransition::blurPixmap(sharp, lockedBlurRadius);
        m_blurred = QPixmapCache::insert(blurred);
    }
    painter.drawPixmap(area.topLeft(), blurred);
}

} // namespace torvelane
