#include "ui/controls/BrandZone.h"

#include "ui/theme/Theme.h"

#include <QPainter>

#include <cmath>

namespace torvelane {

namespace {

constexpr int zoneHeight = 90;
constexpr int logoHeight = 30;

} // namespace

BrandZone::BrandZone(QWidget* parent) : QWidget(parent), m_logo(QStringLiteral(":/assets/logo-mark.png"))
{
    setFixedHeight(zoneHeight);
    if (m_logo.isNull())
        return;
    const qreal ratio = screenRatio();
    m_logo = m_logo.scaledToHeight(static_cast<int>(std::round(logoHeight * ratio)), Qt::SmoothTransformation);
    m_logo.setDevicePixelRatio(ratio);
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
