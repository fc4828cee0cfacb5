#include "ui/controls/BrandZone.h"

#include "ui/theme/Theme.h"

#include <QPainter>
#include <QSvgRenderer>

#include <cmath>

namespace torvelane {

namespace {

constexpr int zoneHeight = 90;
constexpr int logoHeight = 30;

/// From the drawing: a picture would have Qt look through all its image plug-ins first. Null without the resource.
QPixmap drawnLogo()
{
    QSvgRenderer drawing(QStringLiteral(":/assets/logo-mark.svg"));
    if (!drawing.isValid())
        return {};
    const qreal ratio = screenRatio();
    const QSizeF whole = drawing.defaultSize();
    const int height = static_cast<int>(std::round(logoHeight * ratio));
    QPixmap logo(static_cast<int>(std::round(height * whole.width() / whole.height())), height);
    logo.fill(Qt::transparent);
    QPainter painter(&logo);
    drawing.render(&painter);
    painter.end();
    logo.setDevicePixelRatio(ratio);
    return logo;
}

} // namespace

BrandZone::BrandZone(QWidget* parent) : OutsideStyleSheet(parent), m_logo(drawnLogo())
{
    setFixedHeight(zoneHeight);
}

void BrandZone::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (m_logo.isNull()) {
        painter.setPen(palette::ink);
        painter.setFont(displayFont(20, QFont::Bold));
        painter.drawText(rect(), Qt::AlignCenter, QStringLiteral("TV"));
        return;
    }
    const QSizeF size = m_logo.deviceIndependentSize();
    painter.drawPixmap(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2 + 1), m_logo);
}

} // namespace torvelane
