#pragma once

#include <QVariantAnimation>
#include <QWidget>

namespace torvelane {

/// A turning arc that says that something is under way. Hidden until it is started.
class Spinner : public QWidget {
    Q_OBJECT

public:
    explicit Spinner(int diameter, QWidget* parent = nullptr);

    void start();
    void stop();

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void turn();

    int m_diameter;
    QVariantAnimation m_animation;
};

} // namespace torvelane
