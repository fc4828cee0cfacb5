#include "ui/theme/Icons.h"

#include "ui/theme/Theme.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
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

/// Draws its icon when somebody first looks at it: most of a window's icons are on pages that nobody has opened yet.
class LazyIcon : public QIconEngine {
public:
    LazyIcon(IconId id, const QColor& color, int size) : m_id(id), m_color(color), m_size(size) { }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        drawn().paint(painter, rect, Qt::AlignCenter, mode, state);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        return drawn().pixmap(size, 1.0, mode, state);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override
    {
        return drawn().pixmap(size / scale, scale, mode, state);
    }
    QSize actualSize(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        return drawn().actualSize(size, mode, state);
    }
    QIconEngine* clone() const override { return new LazyIcon(*this); }

private:
    const QIcon& drawn()
    {
        if (m_icon.isNull())
            m_icon = QIcon(iconPixmap(m_id, m_color, m_size));
        return m_icon;
    }

    IconId m_id;
    QColor m_color;
    int m_size;
    QIcon m_icon;
};

} // namespace

QPixmap iconPixmap(IconId id, const QColor& color, int size)
{
    const qreal ratio = screenRatio();
    // Rows and tabs ask for theirs again at each click.
    const QString key = QStringLiteral("icon %1 %2 %3 %4")
                            .arg(static_cast<int>(id))
                            .arg(color.name(), QString::number(size), QString::number(ratio));
    if (QPixmap known; QPixmapCache::find(key, &known))
        return known;
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
    painter.end();
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

QIcon iconFor(IconId id, const QColor& color, int size)
{
    return QIcon(new LazyIcon(id, color, size));
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
