#include "ui/Icons.h"

#include "ui/Theme.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

#include <array>
#include <cmath>

namespace torvelane {

namespace {

// Base names of the resources, in the order of IconId.
constexpr std::array<const char*, iconCount> names = {
    "gauge",       "wifi",
    "activity",    "sliders-horizontal",
    "shield",      "sliders-vertical",
    "app-window",  "battery-charging",
    "cpu",         "memory-stick",
    "mouse",       "hard-drive",
    "trash-2",     "server",
    "settings",    "lock",
    "log-out",     "crown",
    "check",       "monitor",
    "thermometer", "circuit-board",
    "history",     "gamepad-2",
    "rocket",      "gpu",
    "zap",         "refresh-cw",
    "folder",      "panel-bottom",
    "layout-grid", "globe",
    "radio",       "megaphone",
    "eye",         "database",
    "keyboard",    "wrench",
    nullptr,       "list",
    "house",       "sparkles",
};

} // namespace

QPixmap iconPixmap(IconId id, const QColor& color, int size)
{
    const qreal ratio = screenRatio();
    const int side = static_cast<int>(std::round(size * ratio));
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    pixmap.setDevicePixelRatio(ratio);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!renderSvgIcon(painter, id, color, size)) {
        painter.scale(size / 24.0, size / 24.0);
        drawFallbackIcon(painter, id, QColor(color.rgb()));
    }
    return pixmap;
}

QIcon iconFor(IconId id, const QColor& color, int size)
{
    return QIcon(iconPixmap(id, color, size));
}

bool renderSvgIcon(QPainter& painter, IconId id, const QColor& color, int size)
{
    const auto index = static_cast<std::size_t>(id);
    if (index >= names.size() || !names[index])
        return false;
    QFile file(QStringLiteral(":/assets/icons/%1.svg").arg(QLatin1String(names[index])));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QByteArray drawing = file.readAll();
    drawing.replace("currentColor", color.name().toLatin1());
    QSvgRenderer renderer(drawing);
    if (!renderer.isValid())
        return false;
    renderer.render(&painter, QRectF(0, 0, size, size));
    return true;
}

} // namespace torvelane
