#pragma once

#include <QLabel>

namespace torvelane {

class FrameTimer;

/// The user's name in the colours of the tier.
class UsernameLabel : public QLabel {
    Q_OBJECT

public:
    /// White, the accent colour, or the accent colour with light that glints across.
    enum class Style : int { Plain = 0, Accent = 1, Glint = 2 };

    explicit UsernameLabel(QWidget* parent = nullptr);

    using QLabel::setStyle;
    void setStyle(Style style);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void advanceSheen();
    void updateGlint();

    Style m_style = Style::Plain;
    double m_sheen = -0.3;
    QRect m_inked; ///< What the name takes of the label, as it was last painted.
    FrameTimer* m_timer;
};

} // namespace torvelane
