#pragma once

#include <QLabel>

namespace torvelane {

/// A label of one line that shortens what it has no room for, with all of it in the tooltip.
class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent) : QLabel(parent)
    {
        setTextFormat(Qt::PlainText);
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }

    void setWhole(const QString& text);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void shorten();

    QString m_whole;
};

} // namespace torvelane
