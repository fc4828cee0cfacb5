#include "ui/Icons.h"

#include <QPainter>
#include <QTest>

#include <cmath>
#include <vector>

using namespace torvelane;

namespace {

// Ink on a coarse grid, each cell softened by its neighbours: close for drawings that look alike, and indifferent to the
// width of a line.
using Coverage = std::vector<double>;

constexpr int gridSide = 24;

template <typename Draw>
Coverage coverageOf(Draw draw)
{
    QImage image(96, 96, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter, image.width());
    painter.end();
    const QImage grid = image.scaled(gridSide, gridSide, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    Coverage coverage;
    for (int y = 0; y < gridSide; ++y) {
        for (int x = 0; x < gridSide; ++x) {
            double sum = 0;
            for (int near = 0; near < 9; ++near) {
                const QPoint at(x + near % 3 - 1, y + near / 3 - 1);
                sum += grid.rect().contains(at) ? qAlpha(grid.pixel(at)) : 0;
            }
            coverage.push_back(sum);
        }
    }
    return coverage;
}

Coverage resourceCoverage(IconId id)
{
    return coverageOf([id](QPainter& painter, int side) { (void)renderSvgIcon(painter, id, Qt::white, side); });
}

Coverage fallbackCoverage(IconId id)
{
    return coverageOf([id](QPainter& painter, int side) {
        painter.scale(side / 24.0, side / 24.0);
        drawFallbackIcon(painter, id, Qt::white);
    });
}

double likeness(const Coverage& a, const Coverage& b)
{
    double product = 0;
    double lengthA = 0;
    double lengthB = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        product += a[i] * b[i];
        lengthA += a[i] * a[i];
        lengthB += b[i] * b[i];
    }
    return lengthA > 0 && lengthB > 0 ? product / std::sqrt(lengthA * lengthB) : 0.0;
}

bool isBlank(const Coverage& coverage)
{
    return std::ranges::all_of(coverage, [](double ink) { return ink == 0; });
}

} // namespace

class tst_Icons : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachDrawingIsLikeItsResourceAndNoOther();
    void valuesWithoutResourceOrDrawing();
    void alphaOfTheColourIsDropped();
    void pixmapFillsTheScreensPixels();
};

void tst_Icons::eachDrawingIsLikeItsResourceAndNoOther()
{
    std::vector<Coverage> resources;
    for (int i = 0; i < iconCount; ++i)
        resources.push_back(resourceCoverage(static_cast<IconId>(i)));
    for (int i = 0; i < static_cast<int>(IconId::Sparkles); ++i) {
        if (static_cast<IconId>(i) == IconId::Unnamed)
            continue;
        const Coverage drawing = fallbackCoverage(static_cast<IconId>(i));
        int closest = -1;
        double best = 0;
        for (int other = 0; other < iconCount; ++other) {
            const double value = likeness(drawing, resources[static_cast<std::size_t>(other)]);
            if (value > best) {
                best = value;
                closest = other;
            }
        }
        QVERIFY2(closest == i && best > 0.9,
                 qPrintable(QStringLiteral("icon %1 is most like %2: %3")
                                .arg(QString::number(i), QString::number(closest), QString::number(best))));
    }
}

void tst_Icons::valuesWithoutResourceOrDrawing()
{
    QVERIFY(isBlank(resourceCoverage(IconId::Unnamed)));
    QVERIFY(!isBlank(fallbackCoverage(IconId::Unnamed)));
    QVERIFY(!isBlank(resourceCoverage(IconId::Sparkles)));
    QVERIFY(isBlank(fallbackCoverage(IconId::Sparkles)));
    for (const int outside : {-1, iconCount}) {
        QVERIFY(isBlank(resourceCoverage(static_cast<IconId>(outside))));
        QVERIFY(isBlank(fallbackCoverage(static_cast<IconId>(outside))));
    }
}

void tst_Icons::alphaOfTheColourIsDropped()
{
    const QImage image = iconPixmap(IconId::Gauge, QColor(255, 0, 0, 0), 24).toImage();
    bool hasInk = false;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor color = image.pixelColor(x, y);
            hasInk = hasInk || color == QColor(255, 0, 0, 255);
            QVERIFY(color.alpha() == 0 || (color.green() == 0 && color.blue() == 0));
        }
    }
    QVERIFY(hasInk);
}

void tst_Icons::pixmapFillsTheScreensPixels()
{
    const double scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1")).toDouble();
    for (const int size : {24, 15}) { // 15 at 1.5 is 22.5: rounded away from zero
        const QPixmap pixmap = iconPixmap(IconId::Server, Qt::white, size);
        QCOMPARE(pixmap.width(), static_cast<int>(std::round(size * scale)));
        QCOMPARE(pixmap.height(), pixmap.width());
        QCOMPARE(pixmap.devicePixelRatio(), scale);
        // The drawing reaches across all of it, rather than filling the corner of a scaled pixmap.
        const QImage image = pixmap.toImage();
        bool reaches = false;
        for (int y = 0; y < image.height(); ++y)
            reaches = reaches || qAlpha(image.pixel(image.width() * 22 / 24 - 1, y)) > 0;
        QVERIFY(reaches);
    }
}

QTEST_MAIN(tst_Icons)
#include "tst_Icons.moc"
