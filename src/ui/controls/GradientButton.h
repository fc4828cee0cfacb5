#pragma once

#include <QElapsedTimer>
#include <QPushButton>

class QGraphicsDropShadowEffect;
class QPropertyAnimation;

namespace torvelane {

class FrameTimer;

/// The animated call to action: a gradient pill with a drifting sheen, whose label rolls on hover. The outline style is
/// the quiet companion beside it.
class GradientButton : public QPushButton {
    Q_OBJECT
    Q_PROPERTY(double roll READ roll WRITE setRoll)
    Q_PROPERTY(double scaleFactor READ scaleFactor WRITE setScaleFactor)
    Q_PROPERTY(double glow READ glow WRITE setGlow)

public:
    enum class Style : int { Gradient = 0, Outline = 1 };

    explicit GradientButton(const QString& text, QWidget* parent = nullptr);

    using QPushButton::setStyle;
    void setStyle(Style style);

    [[nodiscard]] double roll() const { return m_roll; }
    void setRoll(double roll);
    [[nodiscard]] double scaleFactor() const { return m_scaleFactor; }
    void setScaleFactor(double scaleFactor);
    [[nodiscard]] double glow() const { return m_glow; }
    void setGlow(double glow);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void advanceSheen();
    void animateTo(QPropertyAnimation*& animation, const QByteArray& property, double target, int durationMs);
    void paintPlate(QPainter& painter, const QRectF& plate) const;
    void paintLabel(QPainter& painter) const;

    Style m_style = Style::Gradient;
    bool m_sheenRunning = true;
    double m_sheen = 0.0;
    double m_roll = 0.0;
    double m_scaleFactor = 1.0;
    double m_glow = 0.0;
    QElapsedTimer m_clock;
    FrameTimer* m_timer;
    QGraphicsDropShadowEffect* m_shadow;
    QPropertyAnimation* m_rollAnimation = nullptr;
    QPropertyAnimation* m_scaleAnimation = nullptr;
    QPropertyAnimation* m_glowAnimation = nullptr;
};

} // namespace torvelane
