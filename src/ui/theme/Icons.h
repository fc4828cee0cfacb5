#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>

class QPainter;

namespace torvelane {

/// The line icons. The order is that of the names in Icons.cpp, from which the resource is found.
enum class IconId : int {
    Gauge = 0,
    Wifi,
    Activity,
    SlidersHorizontal,
    Shield,
    SlidersVertical,
    AppWindow,
    BatteryCharging,
    Cpu,
    MemoryStick,
    Mouse,
    HardDrive,
    Trash2,
    Server,
    Settings,
    Lock,
    LogOut,
    Crown,
    Check,
    Monitor,
    Thermometer,
    CircuitBoard,
    History,
    Gamepad2,
    Rocket,
    Gpu,
    Zap,
    RefreshCw,
    Folder,
    PanelBottom,
    LayoutGrid,
    Globe,
    Radio,
    Megaphone,
    Eye,
    Database,
    Keyboard,
    Wrench,
    Unnamed, ///< has no resource, only its drawing
    List,
    House,
    Sparkles,
};

inline constexpr int iconCount = 42;

/// The icon in one colour, `size` logical pixels wide and high, sharp on the primary screen. The colour's alpha is
/// dropped. Never null: without its resource an icon is drawn from strokes. Main thread.
[[nodiscard]] QPixmap iconPixmap(IconId id, const QColor& color, int size);
[[nodiscard]] QIcon iconFor(IconId id, const QColor& color, int size);

/// Draws the icon's resource into the square of `size` at the origin. False, and nothing drawn, if there is none or it
/// isn't readable.
[[nodiscard]] bool renderSvgIcon(QPainter& painter, IconId id, const QColor& color, int size);

/// Draws the stand-in for a missing resource on a grid of 24 by 24. Sparkles, the last one, has none.
void drawFallbackIcon(QPainter& painter, IconId id, const QColor& color);

} // namespace torvelane
