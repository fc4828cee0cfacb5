#include "ui/theme/Icons.h"

#include <QPainter>
#include <QPainterPath>

#include <array>
#include <span>

namespace torvelane {

namespace {

enum class Shape { Line, Dot, Oval, Box, Arc, Bend };

struct Stroke {
    Shape shape;
    std::array<double, 6> at;
};

// On a grid of 24 by 24. Angles are in degrees, counter-clockwise from three o'clock, as Qt counts them.
constexpr Stroke line(double x1, double y1, double x2, double y2)
{
    return {Shape::Line, {x1, y1, x2, y2}};
}

constexpr Stroke dot(double x, double y)
{
    return {Shape::Dot, {x, y}};
}

constexpr Stroke circle(double x, double y, double radius)
{
    return {Shape::Oval, {x, y, radius, radius}};
}

constexpr Stroke oval(double x, double y, double radiusX, double radiusY)
{
    return {Shape::Oval, {x, y, radiusX, radiusY}};
}

constexpr Stroke box(double x, double y, double width, double height, double corner)
{
    return {Shape::Box, {x, y, width, height, corner}};
}

constexpr Stroke arc(double x, double y, double radiusX, double radiusY, double start, double span)
{
    return {Shape::Arc, {x, y, radiusX, radiusY, start, span}};
}

// The rounded corners of an outline that isn't a whole box.
constexpr Stroke topLeft(double x, double y, double radius)
{
    return arc(x, y, radius, radius, 90, 90);
}

constexpr Stroke topRight(double x, double y, double radius)
{
    return arc(x, y, radius, radius, 0, 90);
}

constexpr Stroke bottomLeft(double x, double y, double radius)
{
    return arc(x, y, radius, radius, 180, 90);
}

constexpr Stroke bottomRight(double x, double y, double radius)
{
    return arc(x, y, radius, radius, 270, 90);
}

// A quadratic curve between two points, drawn towards the one in the middle.
constexpr Stroke bend(double x1, double y1, double towardsX, double towardsY, double x2, double y2)
{
    return {Shape::Bend, {x1, y1, towardsX, towardsY, x2, y2}};
}

constexpr Stroke gauge[] = {arc(12, 14, 10, 10, 330, 240), line(12, 14, 16, 10)};
constexpr Stroke wifi[] = {dot(12, 20), arc(12, 20, 15, 15, 48, 84), arc(12, 20, 10, 10, 45.5, 89),
                           arc(12, 20, 5, 5, 45.5, 89)};
constexpr Stroke activity[] = {line(2, 12, 4.8, 12),  line(4.8, 12, 6.4, 10.5), line(6.4, 10.5, 9, 2),
                               line(9, 2, 15, 22),    line(15, 22, 17.6, 13.5), line(17.6, 13.5, 19.2, 12),
                               line(19.2, 12, 22, 12)};
constexpr Stroke slidersHorizontal[] = {line(3, 5, 10, 5),   line(14, 5, 21, 5),   line(14, 3, 14, 7),
                                        line(3, 12, 8, 12),  line(12, 12, 21, 12), line(8, 10, 8, 14),
                                        line(3, 19, 12, 19), line(16, 19, 21, 19), line(16, 17, 16, 21)};
constexpr Stroke shield[] = {bend(12, 2.4, 8, 5, 4.6, 5), bend(12, 2.4, 16, 5, 19.4, 5), line(4, 5.6, 4, 13),
                             line(20, 5.6, 20, 13),       bend(4, 13, 4, 19.4, 12, 22),  bend(20, 13, 20, 19.4, 12, 22),
                             bend(4, 5.6, 4, 5, 4.6, 5),  bend(20, 5.6, 20, 5, 19.4, 5)};
constexpr Stroke slidersVertical[] = {line(5, 3, 5, 10),   line(5, 14, 5, 21),   line(3, 14, 7, 14),
                                      line(12, 3, 12, 8),  line(12, 12, 12, 21), line(10, 8, 14, 8),
                                      line(19, 3, 19, 12), line(19, 16, 19, 21), line(17, 16, 21, 16)};
constexpr Stroke appWindow[] = {box(2, 4, 20, 16, 2), line(2, 8, 22, 8), line(6, 4, 6, 8), line(10, 4, 10, 8)};
constexpr Stroke batteryCharging[] = {
    line(11, 7, 8, 12),   line(8, 12, 12, 12), line(12, 12, 9, 17),    line(22, 10, 22, 14), line(14.9, 6, 16, 6),
    topRight(16, 8, 2),   line(18, 8, 18, 16), bottomRight(16, 16, 2), line(16, 18, 13, 18), line(5.1, 18, 4, 18),
    bottomLeft(4, 16, 2), line(2, 16, 2, 8),   topLeft(4, 8, 2),       line(4, 6, 7, 6)};
constexpr Stroke cpu[] = {box(4, 4, 16, 16, 2), box(8, 8, 8, 8, 1),  line(7, 2, 7, 4),     line(12, 2, 12, 4),
                          line(17, 2, 17, 4),   line(7, 20, 7, 22),  line(12, 20, 12, 22), line(17, 20, 17, 22),
                          line(2, 7, 4, 7),     line(2, 12, 4, 12),  line(2, 17, 4, 17),   line(20, 7, 22, 7),
                          line(20, 12, 22, 12), line(20, 17, 22, 17)};
constexpr Stroke memoryStick[] = {box(2, 6, 20, 10, 2), line(8, 10, 8, 12),    line(12, 10, 12, 12),
                                  line(16, 10, 16, 12), line(4, 16, 4, 18),    line(8, 16, 8, 18),
                                  line(12, 16, 12, 18), line(16, 16, 16, 18),  line(20, 16, 20, 18),
                                  line(2, 11, 3.5, 11), line(20.5, 11, 22, 11)};
constexpr Stroke mouse[] = {box(5, 2, 14, 20, 7), line(12, 6, 12, 10)};
constexpr Stroke hardDrive[] = {line(2, 12, 22, 12),
                                line(2, 12, 5.5, 5.1),
                                bend(5.5, 5.1, 6.1, 4, 7.2, 4),
                                line(7.2, 4, 16.8, 4),
                                bend(16.8, 4, 17.9, 4, 18.5, 5.1),
                                line(18.5, 5.1, 22, 12),
                                line(22, 12, 22, 18),
                                bottomRight(20, 18, 2),
                                line(20, 20, 4, 20),
                                bottomLeft(4, 18, 2),
                                line(2, 18, 2, 12),
                                dot(6, 16),
                                dot(10, 16)};
constexpr Stroke trash2[] = {line(3, 6, 21, 6),    line(10, 11, 10, 17), line(14, 11, 14, 17),   line(5, 6, 5, 20),
                             bottomLeft(7, 20, 2), line(7, 22, 17, 22),  bottomRight(17, 20, 2), line(19, 20, 19, 6),
                             line(8, 6, 8, 4),     topLeft(10, 4, 2),    line(10, 2, 14, 2),     topRight(14, 4, 2),
                             line(16, 4, 16, 6)};
constexpr Stroke server[] = {box(2, 2, 20, 8, 2), box(2, 14, 20, 8, 2), dot(6, 6), dot(6, 18)};
// Six teeth that bulge out, and between them six gaps that bulge in.
constexpr Stroke settings[] = {circle(12, 12, 3),
                               arc(12.00, 4.14, 2.33, 2.33, 0, 180),
                               arc(7.34, 3.93, 2.34, 2.34, 245, 110),
                               arc(5.19, 8.07, 2.33, 2.33, 60, 180),
                               arc(2.68, 12.00, 2.34, 2.34, 305, 110),
                               arc(5.19, 15.93, 2.33, 2.33, 120, 180),
                               arc(7.34, 20.07, 2.34, 2.34, 5, 110),
                               arc(12.00, 19.86, 2.33, 2.33, 180, 180),
                               arc(16.66, 20.07, 2.34, 2.34, 65, 110),
                               arc(18.81, 15.93, 2.33, 2.33, 240, 180),
                               arc(21.32, 12.00, 2.34, 2.34, 125, 110),
                               arc(18.81, 8.07, 2.33, 2.33, 300, 180),
                               arc(16.66, 3.93, 2.34, 2.34, 185, 110)};
constexpr Stroke lock[] = {box(3, 11, 18, 11, 2), line(7, 11, 7, 7), arc(12, 7, 5, 5, 0, 180), line(17, 7, 17, 11)};
constexpr Stroke logOut[] = {line(16, 17, 21, 12), line(21, 12, 16, 7), line(21, 12, 9, 12), line(9, 21, 5, 21),
                             bottomLeft(5, 19, 2), line(3, 19, 3, 5),   topLeft(5, 5, 2),    line(5, 3, 9, 3)};
constexpr Stroke crown[] = {line(2.3, 5.6, 7.8, 9.6),   line(7.8, 9.6, 12, 3),     line(12, 3, 16.2, 9.6),
                            line(16.2, 9.6, 21.7, 5.6), line(21.7, 5.6, 18.7, 17), line(18.7, 17, 5.3, 17),
                            line(5.3, 17, 2.3, 5.6),    line(5, 21, 19, 21)};
constexpr Stroke check[] = {line(20, 6, 9, 17), line(9, 17, 4, 12)};
constexpr Stroke monitor[] = {box(2, 3, 20, 14, 2), line(8, 21, 16, 21), line(12, 17, 12, 21)};
constexpr Stroke thermometer[] = {arc(12, 4, 2, 2, 0, 180), line(14, 4, 14, 14.5), line(10, 4, 10, 14.5),
                                  arc(12, 18, 4, 4, 60, -300)};
constexpr Stroke circuitBoard[] = {box(3, 3, 18, 18, 2),  circle(9, 9, 2),    line(11, 9, 15, 9),
                                   bottomRight(15, 7, 2), line(17, 7, 17, 3), circle(15, 15, 2),
                                   line(13, 15, 9, 15),   topLeft(9, 17, 2),  line(7, 17, 7, 21)};
constexpr Stroke history[] = {arc(12, 12, 9, 9, 180, 317), line(5.4, 5.8, 3, 8), line(3, 3, 3, 8), line(3, 8, 8, 8),
                              line(12, 7, 12, 12),         line(12, 12, 16, 14)};
constexpr Stroke gamepad2[] = {line(6, 11, 10, 11),
                               line(8, 9, 8, 13),
                               dot(15, 12),
                               dot(18, 10),
                               line(6.7, 5, 17.3, 5),
                               arc(17.3, 9, 4, 4, 6, 84),
                               line(21.3, 8.6, 22, 16),
                               arc(19, 16, 3, 3, 270, 90),
                               bend(19, 19, 18, 19, 17, 18),
                               line(17, 18, 15.6, 16.6),
                               bend(15.6, 16.6, 15, 16, 14.2, 16),
                               line(14.2, 16, 9.8, 16),
                               bend(9.8, 16, 9, 16, 8.4, 16.6),
                               line(8.4, 16.6, 7, 18),
                               bend(7, 18, 6, 19, 5, 19),
                               arc(5, 16, 3, 3, 180, 90),
                               line(2, 16, 2.7, 8.6),
                               arc(6.7, 9, 4, 4, 90, 84)};
constexpr Stroke rocket[] = {bend(9, 12, 12.5, 3, 22, 2),
                             bend(22, 2, 22, 9.6, 16, 13),
                             line(16, 13, 12, 15),
                             line(12, 15, 9, 12),
                             line(12, 15, 12, 20),
                             bend(12, 20, 15, 19.5, 16, 18),
                             bend(16, 18, 17, 16.2, 16, 13),
                             line(9, 12, 4, 12),
                             bend(4, 12, 4.5, 9, 6, 8),
                             bend(6, 8, 7.5, 7, 11, 8),
                             bend(4.5, 16.5, 3, 17.8, 2.5, 21.5),
                             bend(2.5, 21.5, 6.2, 21, 7.5, 19.5),
                             bend(7.5, 19.5, 8.5, 18, 7.4, 16.6),
                             bend(7.4, 16.6, 6, 15.4, 4.5, 16.5)};
constexpr Stroke gpu[] = {line(2, 3, 2, 21),      line(2, 5, 20, 5),      topRight(20, 7, 2),   line(22, 7, 22, 15),
                          bottomRight(20, 15, 2), line(20, 17, 2, 17),    line(7, 17, 7, 20),   bottomLeft(8, 20, 1),
                          line(8, 21, 13, 21),    bottomRight(13, 20, 1), line(14, 20, 14, 17), circle(8, 11, 2),
                          circle(16, 11, 2)};
constexpr Stroke zap[] = {line(13.4, 2.4, 4.4, 11.4),
                          bend(4.4, 11.4, 3, 13.5, 5.5, 14),
                          line(5.5, 14, 9.8, 14),
                          line(9.8, 14, 8.1, 20),
                          bend(8.1, 20, 8.5, 22.8, 10.6, 21.6),
                          line(10.6, 21.6, 19.6, 12.6),
                          bend(19.6, 12.6, 21, 10.5, 18.5, 10),
                          line(18.5, 10, 14.2, 10),
                          line(14.2, 10, 15.9, 4),
                          bend(15.9, 4, 15.5, 1.2, 13.4, 2.4)};
constexpr Stroke refreshCw[] = {arc(12, 12, 9, 9, 180, -137), line(18.6, 5.8, 21, 8),     line(21, 3, 21, 8),
                                line(21, 8, 16, 8),           arc(12, 12, 9, 9, 0, -137), line(5.4, 18.2, 3, 16),
                                line(3, 21, 3, 16),           line(3, 16, 8, 16)};
constexpr Stroke folder[] = {line(4, 20, 20, 20),       bottomRight(20, 18, 2),
                             line(22, 18, 22, 8),       topRight(20, 8, 2),
                             line(20, 6, 12.1, 6),      bend(12.1, 6, 11, 6, 10.4, 5.1),
                             line(10.4, 5.1, 9.6, 3.9), bend(9.6, 3.9, 9, 3, 7.9, 3),
                             line(7.9, 3, 4, 3),        topLeft(4, 5, 2),
                             line(2, 5, 2, 18),         bottomLeft(4, 18, 2)};
constexpr Stroke panelBottom[] = {box(3, 3, 18, 18, 2), line(3, 15, 21, 15)};
constexpr Stroke layoutGrid[] = {box(3, 3, 7, 7, 1), box(14, 3, 7, 7, 1), box(3, 14, 7, 7, 1), box(14, 14, 7, 7, 1)};
constexpr Stroke globe[] = {circle(12, 12, 10), bend(12, 2, 4, 12, 12, 22), bend(12, 2, 20, 12, 12, 22),
                            line(2, 12, 22, 12)};
constexpr Stroke radio[] = {circle(12, 12, 2), arc(12, 12, 6, 6, 315, 90), arc(12, 12, 10, 10, 315, 90),
                            arc(12, 12, 6, 6, 135, 90), arc(12, 12, 10, 10, 135, 90)};
constexpr Stroke megaphone[] = {line(11, 6, 5, 6),
                                topLeft(5, 8, 2),
                                line(3, 8, 3, 12),
                                bottomLeft(5, 12, 2),
                                line(5, 14, 11, 14),
                                bend(11, 6, 15.8, 6, 19.4, 3.2),
                                bend(19.4, 3.2, 20.8, 2.5, 21, 4),
                                line(21, 4, 21, 16),
                                bend(21, 16, 20.8, 17.5, 19.4, 16.8),
                                bend(11, 14, 15.8, 14, 19.4, 16.8),
                                line(8, 6, 8, 14),
                                bend(6, 14, 6.2, 18.3, 8.4, 21.2),
                                bend(8.4, 21.2, 10, 22.8, 11.6, 21.2),
                                bend(11.6, 21.2, 12.4, 20, 11.6, 18.8),
                                bend(11.6, 18.8, 10, 16.7, 10, 14)};
constexpr Stroke eye[] = {bend(2, 12, 5, 5.2, 12, 5.2), bend(12, 5.2, 19, 5.2, 22, 12), bend(2, 12, 5, 18.8, 12, 18.8),
                          bend(12, 18.8, 19, 18.8, 22, 12), circle(12, 12, 3)};
constexpr Stroke database[] = {oval(12, 5, 9, 3), line(3, 5, 3, 19), line(21, 5, 21, 19), arc(12, 12, 9, 3, 180, 180),
                               arc(12, 19, 9, 3, 180, 180)};
constexpr Stroke keyboard[] = {box(2, 4, 20, 16, 2), dot(6, 8),   dot(10, 8),  dot(14, 8),         dot(18, 8),
                               dot(8, 12),           dot(12, 12), dot(16, 12), line(7, 16, 17, 16)};
constexpr Stroke wrench[] = {arc(16, 8, 6, 6, 15, -129),
                             arc(16, 8, 6, 6, 75, 129),
                             line(13.5, 13.5, 5.6, 21.4),
                             line(10.5, 10.5, 2.6, 18.4),
                             arc(4.1, 19.9, 2.1, 2.1, 135, 180),
                             line(14.7, 6.3, 17.8, 3.2),
                             bend(17.8, 3.2, 18.1, 2.5, 17.6, 2.2),
                             bend(14.7, 6.3, 14, 7, 14.7, 7.7),
                             line(14.7, 7.7, 16.3, 9.3),
                             bend(16.3, 9.3, 17, 10, 17.7, 9.3),
                             line(17.7, 9.3, 20.8, 6.2),
                             bend(20.8, 6.2, 21.5, 5.9, 21.8, 6.4)};
constexpr Stroke unnamed[] = {box(3, 3, 18, 18, 2), dot(8, 12), dot(12, 12), dot(16, 12)};
constexpr Stroke list[] = {dot(3, 5),         dot(3, 12),          dot(3, 19),
                           line(8, 5, 21, 5), line(8, 12, 21, 12), line(8, 19, 21, 19)};
constexpr Stroke house[] = {line(9, 21, 9, 13),         topLeft(10, 13, 1),
                            line(10, 12, 14, 12),       topRight(14, 13, 1),
                            line(15, 13, 15, 21),       bend(3, 10, 3, 9.1, 3.7, 8.5),
                            line(3.7, 8.5, 10.7, 2.5),  bend(10.7, 2.5, 12, 1.5, 13.3, 2.5),
                            line(13.3, 2.5, 20.3, 8.5), bend(20.3, 8.5, 21, 9.1, 21, 10),
                            line(21, 10, 21, 19),       bottomRight(19, 19, 2),
                            line(19, 21, 5, 21),        bottomLeft(5, 19, 2),
                            line(3, 19, 3, 10)};

// In the order of IconId.
constexpr std::array<std::span<const Stroke>, iconCount> drawings = {
    gauge,  wifi,        activity, slidersHorizontal, shield,      slidersVertical, appWindow,  batteryCharging,
    cpu,    memoryStick, mouse,    hardDrive,         trash2,      server,          settings,   lock,
    logOut, crown,       check,    monitor,           thermometer, circuitBoard,    history,    gamepad2,
    rocket, gpu,         zap,      refreshCw,         folder,      panelBottom,     layoutGrid, globe,
    radio,  megaphone,   eye,      database,          keyboard,    wrench,          unnamed,    list,
    house,  {}};

// Goes on from the last stroke where this one begins there, so that the two are joined rather than capped.
void beginAt(QPainterPath& path, const QPointF& start)
{
    if (path.isEmpty() || (path.currentPosition() - start).manhattanLength() > 0.1)
        path.moveTo(start);
}

void addStroke(QPainterPath& path, const Stroke& stroke)
{
    const auto& at = stroke.at;
    switch (stroke.shape) {
    case Shape::Line:
        beginAt(path, QPointF(at[0], at[1]));
        path.lineTo(at[2], at[3]);
        break;
    case Shape::Dot:
        // A path of no length is not stroked at all; the round caps make a dot of this one.
        path.moveTo(at[0], at[1]);
        path.lineTo(at[0] + 0.01, at[1]);
        break;
    case Shape::Oval:
        path.addEllipse(QPointF(at[0], at[1]), at[2], at[3]);
        break;
    case Shape::Box:
        path.addRoundedRect(QRectF(at[0], at[1], at[2], at[3]), at[4], at[4]);
        break;
    case Shape::Arc: {
        const QRectF around(at[0] - at[2], at[1] - at[3], 2 * at[2], 2 * at[3]);
        QPainterPath probe;
        probe.arcMoveTo(around, at[4]);
        beginAt(path, probe.currentPosition());
        path.arcTo(around, at[4], at[5]);
        break;
    }
    case Shape::Bend:
        beginAt(path, QPointF(at[0], at[1]));
        path.quadTo(at[2], at[3], at[4], at[5]);
        break;
    }
}

} // namespace

void drawFallbackIcon(QPainter& painter, IconId id, const QColor& color)
{
    const auto index = static_cast<std::size_t>(id);
    if (index >= drawings.size() || drawings[index].empty())
        return;
    // One path for the whole icon: where strokes meet, a see-through colour isn't laid on twice.
    QPainterPath path;
    for (const Stroke& stroke : drawings[index])
        addStroke(path, stroke);
    painter.setPen(QPen(color, 1.7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(path);
}

} // namespace torvelane
