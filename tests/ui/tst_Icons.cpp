#include "ui/Icons.h"

#include <QPainter>
#include <QTest>

#include <cmath>
#include <numeric>
#include <vector>

using namespace torvelane;

namespace {

/// The ink on a coarse grid, which is indifferent to the width of a line, as a vector of length 1: the product of two is
/// close to 1 for drawings that look alike. Empty without ink.
using Coverage = std::vector<double>;

double likeness(const Coverage& a, const Coverage& b)
{
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

Coverage coverageOf(int icon, bool fallback)
{
    QImage image(96, 96, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    if (fallback) {
        painter.scale(4, 4);
        drawFallbackIcon(painter, static_cast<IconId>(icon), Qt::white);
    } else {
        (void)renderSvgIcon(painter, static_cast<IconId>(icon), Qt::white, image.width());
    }
    painter.end();
    const QImage grid = image.scaled(12, 12, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    Coverage coverage;
    for (int cell = 0; cell < 144; ++cell)
        coverage.push_back(qAlpha(grid.pixel(cell % 12, cell / 12)));
    const double length = std::sqrt(likeness(coverage, coverage));
    if (length == 0)
        return {};
    for (double& ink : coverage)
        ink /= length;
    return coverage;
}

} // namespace

class tst_Icons : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachDrawingIsLikeItsResourceAndNoOther()
    {
        QList<Coverage> resources;
        for (int icon = 0; icon < iconCount; ++icon)
            resources.append(coverageOf(icon, false));
        for (int icon = 0; icon < iconCount; ++icon) {
            const Coverage drawing = coverageOf(icon, true);
            QCOMPARE(drawing.empty(), static_cast<IconId>(icon) == IconId::Sparkles);
            QCOMPARE(resources.at(icon).empty(), static_cast<IconId>(icon) == IconId::Unnamed);
            if (drawing.empty() || resources.at(icon).empty())
                continue;
            const auto isCloser = [&](const Coverage& a, const Coverage& b) {
                return likeness(a, drawing) < likeness(b, drawing);
            };
            QCOMPARE(std::ranges::max_element(resources, isCloser) - resources.begin(), icon);
            QCOMPARE_GE(likeness(resources.at(icon), drawing), 0.95);
        }
        for (const int outside : {-1, iconCount})
            QVERIFY(coverageOf(outside, false).empty() && coverageOf(outside, true).empty());
    }

    void pixmapFillsTheScreensPixels()
    {
        const double scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1")).toDouble();
        for (const int size : {24, 15}) { // 15 at 1.5 is 22.5: rounded away from zero
            const QPixmap pixmap = iconPixmap(IconId::Server, Qt::white, size);
            const int side = static_cast<int>(std::round(size * scale));
            QCOMPARE(pixmap.size(), QSize(side, side));
            QCOMPARE(pixmap.devicePixelRatio(), scale);
            // The drawing reaches across all of it, rather than filling the corner of a scaled pixmap.
            QVERIFY(qAlpha(pixmap.toImage().pixel(side * 22 / 24 - 1, side / 12)) > 0);
        }
    }
};

QTEST_MAIN(tst_Icons)
#include "tst_Icons.moc"
