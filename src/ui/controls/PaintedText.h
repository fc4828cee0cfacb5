#pragma once

#include <QColor>
#include <QFont>
#include <QRegion>
#include <QString>

class QPainter;

namespace torvelane {

/// For widgets that paint themselves, where labels and frames would be too many. GUI thread.

/// How a text is dressed.
struct TextLook {
    QFont font;
    QColor color;
};

/// How the style sheet dresses a label of this object name. Makes a label to ask it: keep the answer, which holds for as
/// long as the program runs.
[[nodiscard]] TextLook lookOf(const QString& objectName);

/// Of the text wrapped at words.
[[nodiscard]] QSize wrappedSize(const TextLook& look, const QString& text, int width);

/// The text itself if it takes no more lines than that, or else as much of it as they hold, with an ellipsis.
[[nodiscard]] QString shortened(const QString& text, const QFont& font, int width, int lines);

/// Vertically centred, and from the side at which a text of its direction begins, as a label would. `flags` as
/// QPainter::drawText takes them.
void drawText(QPainter& painter, const TextLook& look, const QRect& area, int flags, const QString& text);

/// A pane as the style sheet's GlassCard is, on a painter that is clipped to the region.
void paintGlass(QPainter& painter, const QRect& area, const QRegion& region);

/// The plain text for QToolTip: long lines are wrapped, also within paths, and a bullet keeps to its line.
[[nodiscard]] QString richTooltip(const QString& text);

} // namespace torvelane
