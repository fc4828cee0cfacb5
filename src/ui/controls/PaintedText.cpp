#include "ui/controls/PaintedText.h"

#include "ui/theme/TextBreaks.h"
#include "ui/theme/Theme.h"

#include <QLabel>
#include <QPainter>
#include <QTextLayout>

namespace torvelane {

TextLook lookOf(const QString& objectName)
{
    QLabel label;
    label.setObjectName(objectName);
    label.ensurePolished();
    return {label.font(), label.palette().color(QPalette::WindowText)};
}

QSize wrappedSize(const TextLook& look, const QString& text, int width)
{
    return QFontMetrics(look.font).boundingRect(QRect(0, 0, width, QWIDGETSIZE_MAX), Qt::TextWordWrap, text).size();
}

QString shortened(const QString& text, const QFont& font, int width, int lines)
{
    QTextLayout layout(text, font);
    layout.beginLayout();
    int start = 0;
    for (int i = 0; i < lines; ++i) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            return text;
        line.setLineWidth(width);
        start = line.textStart();
    }
    const bool isWhole = !layout.createLine().isValid();
    layout.endLayout();
    if (isWhole)
        return text;
    return text.left(start) + QFontMetrics(font).elidedText(text.mid(start), Qt::ElideRight, width);
}

void drawText(QPainter& painter, const TextLook& look, const QRect& area, int flags, const QString& text)
{
    const bool leftwards = text.isRightToLeft();
    painter.setFont(look.font);
    painter.setPen(look.color);
    painter.drawText(area,
                     static_cast<int>((leftwards ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter) | flags
                         | (leftwards ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight),
                     text);
}

void paintGlass(QPainter& painter, const QRect& area, const QRegion& region)
{
    constexpr double radius = 8.0;
    const QRectF edge = QRectF(area).adjusted(0.5, 0.5, -0.5, -0.5);
    QLinearGradient glass(edge.topLeft(), edge.bottomLeft());
    glass.setColorAt(0, QColor(255, 255, 255, 36));
    glass.setColorAt(0.05, QColor(255, 255, 255, 22));
    glass.setColorAt(1, QColor(255, 255, 255, 14));
    // Of a star that twinkles behind it nothing is seen but the pane's inside.
    constexpr int rim = 9;
    if (area.adjusted(rim, rim, -rim, -rim).contains(region.boundingRect())) {
        painter.fillRect(area.adjusted(2, 2, -2, -2), glass);
        return;
    }
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette::hairline, 1));
    painter.setBrush(glass);
    painter.drawRoundedRect(edge, radius, radius);
    painter.restore();
}

/// Rich text, since only that is wrapped.
QString richTooltip(const QString& text)
{
    const QString lines = withBreaks(text).toHtmlEscaped().replace(QStringLiteral("• "), QStringLiteral("•&nbsp;"));
    return QStringLiteral("<p style='white-space:pre-wrap'>%1</p>").arg(lines);
}

} // namespace torvelane
