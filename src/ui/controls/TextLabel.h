#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QColor>
#include <QLabel>

namespace torvelane {

/// A plain text that stays out of the style sheet and yet looks as that says for its object name ("Muted", "Faint"); a font
/// that was set stays. It takes its looks when it joins the window.
class TextLabel : public OutsideStyleSheet<QLabel> {
    Q_OBJECT

public:
    TextLabel(const QString& objectName, const QString& text, QWidget* parent);

    /// In place of the style sheet's.
    void setColor(const QColor& color) { m_color = color; }

    /// Lets the mouse select the text. A label keeps a document for that, so that it begins when the pointer is on it.
    void setSelectable() { m_isSelectable = true; }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void beginSelecting();

    QColor m_color;
    bool m_isSelectable = false;
};

} // namespace torvelane
