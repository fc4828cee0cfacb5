#pragma once

#include <QAbstractButton>
#include <QVariantAnimation>

namespace torvelane {

/// One button of a window's frame, painted in code.
class WindowButton : public QAbstractButton {
    Q_OBJECT

public:
    enum class Kind : int { Minimize = 0, Maximize = 1, Restore = 2, Close = 3 };

    explicit WindowButton(Kind kind, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void fadeTo(double hover);

    Kind m_kind;
    double m_hover = 0.0;
    QVariantAnimation m_fade;
};

} // namespace torvelane
