#pragma once

#include "ui/controls/AccessibleRole.h"
#include "ui/theme/Icons.h"
#include "ui/theme/OutsideStyleSheet.h"

#include <QPainter>
#include <QPixmap>
#include <QStyle>

namespace torvelane {

/// An icon, which is drawn when it is first painted: most of a window's icons are on pages that nobody has opened yet.
class IconLabel : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    IconLabel(IconId icon, const QColor& color, int size, QWidget* parent)
        : OutsideStyleSheet(parent)
        , m_icon(icon)
        , m_color(color)
        , m_size(size)
    {
        setAccessibleRole(this, QAccessible::Graphic);
    }

    [[nodiscard]] QSize sizeHint() const override { return {m_size, m_size}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        if (m_drawn.isNull())
            m_drawn = iconPixmap(m_icon, m_color, m_size);
        const QRect place =
            QStyle::alignedRect(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter, sizeHint(), rect());
        QPainter(this).drawPixmap(place.topLeft(), m_drawn);
    }

private:
    IconId m_icon;
    QColor m_color;
    int m_size;
    QPixmap m_drawn;
};

} // namespace torvelane
