#include "ui/controls/WindowButton.h"

#include "ui/theme/Theme.h"

#include <QCoreApplication>
#include <QPainter>

#include <cmath>

namespace torvelane {

namespace {

constexpr double glyphSide = 8.0;

QString nameOf(WindowButton::Kind kind)
{
    switch (kind) {
    case WindowButton::Kind::Minimize:
        return QCoreApplication::translate("WindowButton", "Minimize");
    case WindowButton::Kind::Maximize:
        return QCoreApplication::translate("WindowButton", "Maximize");
    case WindowButton::Kind::Restore:
        return QCoreApplication::translate("WindowButton", "Restore");
    case WindowButton::Kind::Close:
        return QCoreApplication::translate("WindowButton", "Close");
    }
    return {};
}

QColor plateColor(WindowButton::Kind kind, bool down)
{
    if (kind == WindowButton::Kind::Close)
        return down ? QColor(0x9E, 0x1F, 0x12) : QColor(0xC4, 0x2B, 0x1C);
    return {255, 255, 255, down ? 16 : 30};
}

int blend(int from, int to, double part)
{
    return static_cast<int>(from + (to - from) * part);
}

QColor blend(const QColor& from, const QColor& to, double part)
{
    return {blend(from.red(), to.red(), part), blend(from.green(), to.green(), part),
            blend(from.blue(), to.blue(), part)};
}

void drawGlyph(QPainter& painter, WindowButton::Kind kind, const QRectF& box)
{
    switch (kind) {
    case WindowButton::Kind::Minimize:
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.drawLine(QPointF(box.left(), box.center().y()), QPointF(box.right(), box.center().y()));
        break;
    case WindowButton::Kind::Maximize:
        painter.drawRect(box);
        break;
    case WindowButton::Kind::Restore:
        painter.drawRect(box.adjusted(0, 2, -2, 0));
        painter.drawPolyline(QPolygonF({box.topLeft() + QPointF(2, 2), box.topLeft() + QPointF(2, 0), box.topRight(),
                                        box.bottomRight() - QPointF(0, 2), box.bottomRight() - QPointF(2, 2)}));
        break;
    case WindowButton::Kind::Close:
        painter.drawLine(box.topLeft(), box.bottomRight());
        painter.drawLine(box.topRight(), box.bottomLeft());
        break;
    }
}

} // namespace

WindowButton::WindowButton(Kind kind, QWidget* parent) : QAbstractButton(parent), m_kind(kind)
{
    setFixedSize(34, 24);
    setCursor(Qt::ArrowCursor);
    setFocusPolicy(Qt::NoFocus);
    setAccessibleName(nameOf(kind));
    m_fade.setDuration(140);
    m_fade.setEasingCurve(QEasingCurve::OutCubic);
    connect(&m_fade, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_hover = value.toDouble();
        update();
    });
}

void WindowButton::fadeTo(double hover)
{
    m_fade.stop();
    m_fade.setStartValue(m_hover);
    m_fade.setEndValue(hover);
    m_fade.start();
}

void WindowButton::enterEvent(QEnterEvent* event)
{
    fadeTo(1.0);
    QAbstractButton::enterEvent(event);
}

void WindowButton::leaveEvent(QEvent* event)
{
    fadeTo(0.0);
    QAbstractButton::leaveEvent(event);
}

void WindowButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (m_hover > 0.001) {
        QColor plate = plateColor(m_kind, isDown());
        plate.setAlphaF(plate.alphaF() * static_cast<float>(m_hover));
        painter.setPen(Qt::NoPen);
        painter.setBrush(plate);
        painter.drawRoundedRect(rect(), 8, 8);
    }
    painter.setPen(QPen(blend(palette::muted, palette::ink, m_hover), 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    painter.setBrush(Qt::NoBrush);
    // At half a pixel a line one pixel wide fills one row instead of half of two.
    const QPointF corner(std::round(width() / 2.0 - glyphSide / 2) + 0.5,
                         std::round(height() / 2.0 - glyphSide / 2) + 0.5);
    drawGlyph(painter, m_kind, QRectF(corner, QSizeF(glyphSide, glyphSide)));
}

} // namespace torvelane
