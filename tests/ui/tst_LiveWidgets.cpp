#include "ui/WindowBench.h"
#include "ui/controls/ListRow.h"
#include "ui/controls/LiveChart.h"
#include "ui/controls/SpeedGauge.h"
#include "ui/controls/StatTile.h"
#include "ui/theme/Theme.h"

#include <QVBoxLayout>

namespace {

constexpr QColor curveColor(255, 0, 0);

/// A chart of one series, 590 wide: ten pixels a second. Its plot is 100 high and begins at 4.
struct ChartBench {
    ChartBench()
    {
        window.resize(590, 122);
        chart = new LiveChart(&window);
        chart->resize(window.size());
        chart->addSeries(curveColor);
    }

    void push(const QList<int>& values) const
    {
        for (const int value : values)
            chart->pushSample({value});
    }

    /// The percentage at which the curve stands in a column, within one; -1 if there is none.
    int at(int x) const
    {
        QImage image(chart->size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        chart->render(&image, {}, {}, QWidget::RenderFlags());
        for (int y = 0; y < image.height(); ++y) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() > 200 && pixel.red() > 200 && pixel.green() < 100)
                return 104 - y;
        }
        return -1;
    }

    QWidget window;
    LiveChart* chart;
};

/// Counts how often a widget is painted.
class PaintCount : public QObject {
public:
    explicit PaintCount(QWidget* widget) { widget->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == QEvent::Paint;
        return false;
    }

    int count = 0;
};

} // namespace

/// The controls that show figures and lists.
class tst_LiveWidgets : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale::c());
        applyTheme(*qApp);
    }

    void gaugeSaysItsFigureAndPhase()
    {
        for (const auto& [mbps, marks] :
             {std::pair(-5.0, 0.0), {0.5, 0.5}, {1.0, 1.0}, {7.5, 2.5}, {1000.0, 9.0}, {2000.0, 9.0}})
            QCOMPARE(SpeedGauge::fractionOf(mbps), marks / 9);
        SpeedGauge gauge;
        for (const auto& [mbps, text] :
             {std::pair(99.9, u"99.9 Mbps"_s), {100.0, u"100 Mbps"_s}, {2000.0, u"2000 Mbps"_s}}) {
            gauge.setSpeed(mbps);
            QCOMPARE(gauge.displayValue(), mbps); // Hidden, it jumps.
            QCOMPARE(valueOf(gauge), text);
        }
        gauge.setPhase(SpeedGauge::Phase::Upload);
        QCOMPARE(gauge.accessibleName(), u"Upload"_s);
        showActive(gauge);
        gauge.setSpeed(10);
        gauge.setSpeed(20);
        QCOMPARE(gauge.displayValue(), 2000.0);
        QTRY_COMPARE(gauge.displayValue(), 20.0);
    }

    void chartDraws()
    {
        // The curve at the left edge, thirty seconds ago, and two seconds ago.
        const std::pair<QList<int>, QList<int>> cases[] = {
            {{}, {-1, -1, -1}},
            {{50}, {-1, -1, -1}},
            {QList<int>(11, 50), {-1, -1, 50}},
            {QList<int>(61, 50), {50, 50, 50}},
            {QList<int>(30, 90) + QList<int>(61, 50), {50, 50, 50}}, // the oldest goes
            {QList<int>(61, 250), {100, 100, 100}},
            {QList<int>(61, -1), {-1, -1, -1}},
            {QList<int>(30, -1) + QList<int>{50} + QList<int>(30, -1), {-1, -1, -1}},
            {QList<int>(10, 50) + QList<int>(41, -1) + QList<int>(10, 50), {50, 50, 50}}, // on over a gap
        };
        for (const auto& [values, seen] : cases) {
            const ChartBench bench;
            bench.push(values);
            for (const auto& [x, expected] : {std::pair(1, seen.at(0)), {290, seen.at(1)}, {570, seen.at(2)}}) {
                const int found = bench.at(x);
                QVERIFY2(std::abs(found - expected) <= 1, qPrintable(u"%1 at %2"_s.arg(found).arg(x)));
            }
        }
        // Of samples with more or fewer figures than series it takes what is left.
        const ChartBench bench;
        bench.chart->addSeries(Qt::green);
        bench.chart->pushSample({50, 40, 30});
        bench.chart->pushSample({50});
        bench.chart->pushSample({});
        QVERIFY(std::abs(bench.at(585) - 50) <= 1);
    }

    /// It glides while it is looked at, and otherwise only takes what is new.
    void chartMovesOnlyWhileLookedAt()
    {
        ChartBench bench;
        QWidget other;
        showActive(bench.window);
        bench.push(QList<int>(61, 50));
        PaintCount paints(bench.chart);
        bench.push({50});
        QTRY_VERIFY(paints.count > 3);
        QTRY_VERIFY(bench.at(588) >= 0); // It has arrived.
        showActive(other);
        QTest::qWait(50);
        paints.count = 0;
        bench.push({80});
        QTest::qWait(300);
        QCOMPARE(paints.count, 1);
        bench.window.hide();
        bench.push(QList<int>(60, 20));
        QTest::qWait(100);
        QCOMPARE(paints.count, 1);
        showActive(bench.window);
        QVERIFY(std::abs(bench.at(300) - 20) <= 1);
    }

    void tileRepaintsWhatChanges()
    {
        QWidget window;
        window.resize(200, 100);
        StatTile tile(u"CPU"_s, Qt::white, &window);
        tile.resize(150, 80);
        showActive(window);
        QCOMPARE(valueOf(tile), u"—"_s);
        tile.setValue(StatTile::percent(12));
        QCOMPARE(valueOf(tile), u"12%"_s);
        QTest::qWait(50);
        PaintCount paints(&tile);
        tile.setValue(u"12%"_s);
        QTest::qWait(50);
        QCOMPARE(paints.count, 0);
        QCOMPARE(StatTile::percent(-1), u"—"_s);
        const QString name = u"A game with a name that is longer than its tile"_s;
        QCOMPARE(tooltipOf(tile), QString());
        tile.setValue(name);
        QVERIFY(tooltipOf(tile).contains(name));
    }

    void longRows()
    {
        const QString path = u"C:\\Games\\"_s + u"a very long folder\\"_s.repeated(10);
        QWidget window;
        window.resize(500, 300);
        auto* const column = new QVBoxLayout(&window);
        auto* const shortened = new ListRow(u"game.exe"_s, path, &window);
        auto* const wrapped = new ListRow(u"Caches"_s, path, &window, ListRow::Details::Wrapped);
        auto* const brief = new ListRow(u"a"_s, u"b"_s, &window);
        QPushButton* const button = wrapped->addButton(u"Clean"_s);
        for (ListRow* const row : {shortened, wrapped, brief})
            column->addWidget(row);
        wrapped->setFigure(u"1.20 GB"_s);
        showActive(window);
        QCOMPARE(tooltipOf(*wrapped), QString());
        QCOMPARE(tooltipOf(*brief), QString());
        QVERIFY(tooltipOf(*shortened).contains(path.trimmed()));
        QVERIFY(wrapped->height() > shortened->height());
        QVERIFY(wrapped->rect().contains(button->geometry()));
        QCOMPARE(button->accessibleName(), u"Clean, Caches"_s);
        QCOMPARE(valueOf(*wrapped), u"1.20 GB"_s);
        // A longer word moves the button, and nothing is cut off.
        button->setText(u"Clean this one up"_s);
        QTRY_VERIFY(button->width() >= button->sizeHint().width());
        QVERIFY(wrapped->rect().contains(button->geometry()));
    }
};

QTEST_MAIN(tst_LiveWidgets)
#include "tst_LiveWidgets.moc"
