#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QColor>
#include <QFont>

namespace torvelane {

/// A caption over a figure that changes often. Paints its texts itself and repaints the figure alone: a label's new text
/// would have the whole page laid out anew. What is too long is shortened, with all of it in the tooltip.
class StatTile : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    /// Shows a dash at first.
    StatTile(const QString& caption, const QColor& captionColor, QWidget* parent);

    /// Bold; 24 pixels unless told otherwise.
    void setValuePixelSize(int pixelSize);

    void setValue(const QString& value);

    /// "12%", in the user's way of writing it; a dash for a negative figure, which isn't known.
    [[nodiscard]] static QString percent(int figure);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QRect inside() const;
    [[nodiscard]] QRect valueArea() const;

    QString m_caption;
    QColor m_captionColor;
    QString m_value;
    QFont m_valueFont;
};

} // namespace torvelane
