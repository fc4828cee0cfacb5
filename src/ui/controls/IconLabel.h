#pragma once

#include "ui/theme/Icons.h"

#include <QEvent>
#include <QLabel>

namespace torvelane {

/// A label with an icon, which is drawn when the label first gets its style: most of a window's icons are on pages that
/// nobody has opened yet.
class IconLabel : public QLabel {
    Q_OBJECT

public:
    IconLabel(IconId icon, const QColor& color, int size, QWidget* parent)
        : QLabel(parent)
        , m_icon(icon)
        , m_color(color)
        , m_size(size)
    {
    }

protected:
    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::Polish)
            setPixmap(iconPixmap(m_icon, m_color, m_size));
        return QLabel::event(event);
    }

private:
    IconId m_icon;
    QColor m_color;
    int m_size;
};

} // namespace torvelane
