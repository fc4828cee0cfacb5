#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QApplication;
class QWidget;

namespace torvelane {

/// The fixed colours of the product, for painting in code. Widgets that are dressed by the style sheet name
/// their look by object name or by the `variant` property instead (see StyleSheet.cpp for the vocabulary).
namespace palette {
inline constexpr QColor base{0x09, 0x09, 0x09};       ///< window fill
inline constexpr QColor ink{0xFF, 0xFF, 0xFF};        ///< text
inline constexpr QColor accent{0x65, 0x71, 0xFF};     ///< active icons, focus, primary gradient
inline constexpr QColor accentDeep{0x5F, 0x6A, 0xE9}; ///< partner of accent in gradients, selection
inline constexpr QColor accentHover{0x70, 0x79, 0xFF};
inline constexpr QColor accentHoverDeep{0x6A, 0x74, 0xF0};
inline constexpr QColor accentPressed{0x5A, 0x64, 0xE6};
inline constexpr QColor accentPressedDeep{0x55, 0x5F, 0xD6};
inline constexpr QColor linkHover{0x8A, 0x93, 0xFF};
inline constexpr QColor muted{0x9C, 0xA3, 0xAF};    ///< secondary text, inactive icons
inline constexpr QColor faint{0x6B, 0x72, 0x80};    ///< tertiary text of 13 px and more
inline constexpr QColor disabled{0x4B, 0x55, 0x63}; ///< placeholder text, disabled navigation rows
inline constexpr QColor tooltip{0x17, 0x17, 0x17};
inline constexpr QColor tooltipText{0xE5, 0xE7, 0xEB};
inline constexpr QColor danger{0xFC, 0xA5, 0xA5}; ///< error text
inline constexpr QColor dangerFill{239, 68, 68, 26};
inline constexpr QColor dangerBorder{239, 68, 68, 102};
inline constexpr QColor warning{0xFC, 0xD3, 0x4D};
inline constexpr QColor success{0x34, 0xD3, 0x99};
inline constexpr QColor tierText{0xC7, 0xD2, 0xFE};
inline constexpr QColor closeRed{0xE8, 0x11, 0x23};
inline constexpr QColor hairline{255, 255, 255, 26}; ///< dividers, glass borders
} // namespace palette

/// Loads the fonts and gives the application its palette, font and style sheet. Called once, on the main thread, before
/// any window exists. Fonts that can't be loaded are replaced by Segoe UI without a word.
void applyTheme(QApplication& application);

/// Font of titles: the display family, tightly tracked. `weight` as in QFont::Weight, from 1 to 1000.
[[nodiscard]] QFont displayFont(int pixelSize, int weight);

/// Font of everything else.
[[nodiscard]] QFont bodyFont(int pixelSize, int weight);

/// Style sheet of an object named TierPill; `radius` in pixels, half of the pill's height.
[[nodiscard]] QString tierPillStyle(int radius);

/// The scroll bar's rules. Set on a scroll area that has a style sheet of its own, which would hide the global one.
[[nodiscard]] QString scrollBarStyle();

/// scrollBarStyle() and a scroll area that lets the window's background through.
[[nodiscard]] QString transparentScrollStyle();

/// Shows or hides a child as QWidget::setVisible does, but leaves one alone that appears with its parent anyway: showing
/// it would give it its style at once, out of the window.
void setShown(QWidget* widget, bool shown);

/// Lets a visible widget fade in; one that isn't visible is left alone. Replaces the widget's graphics effect while it
/// runs.
void fadeInWidget(QWidget* widget, int durationMs);

/// Device pixel ratio of the primary screen; 1 without a screen.
[[nodiscard]] qreal screenRatio();

} // namespace torvelane
