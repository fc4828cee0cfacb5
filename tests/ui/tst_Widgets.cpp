#include "ui/WindowBench.h"
#include "ui/controls/AppDialog.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/FrameTimer.h"
#include "ui/controls/ListRow.h"
#include "ui/controls/LiveChart.h"
#include "ui/controls/SpeedGauge.h"
#include "ui/controls/UsernameLabel.h"
#include "ui/controls/WindowButton.h"
#include "ui/windows/ChromeWindow.h"
#include "ui/windows/HeroWindow.h"

#include <QPainter>
#include <QRandomGenerator>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QVBoxLayout>

namespace {

struct ShownWindow {
    ShownWindow() { showActive(window); }

    HeroWindow* hero = new HeroWindow;
    ChromeWindow window{hero, u"Torvelane"_s};
};

/// The percentage at which a chart's curve stands in a column, within one; -1 if there is none.
int curveAt(LiveChart& chart, int x)
{
    QImage image(chart.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    chart.render(&image, {}, {}, QWidget::RenderFlags());
    for (int y = 0; y < image.height(); ++y) {
        const QColor pixel = image.pixelColor(x, y);
        if (pixel.alpha() > 200 && pixel.red() > 200 && pixel.green() < 100)
            return 104 - y;
    }
    return -1;
}

int difference(const QColor& a, const QColor& b)
{
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()), std::abs(a.blue() - b.blue())});
}

} // namespace

/// Windows, controls and icons by themselves, without a machine behind them.
class tst_Widgets : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void animationRunsOnlyWhileLookedAt()
    {
        ShownWindow shown;
        auto* const name = new UsernameLabel(shown.hero);
        name->setStyle(UsernameLabel::Style::Glint);
        name->show();
        const auto* const glint = name->findChild<FrameTimer*>();
        auto* const chart = new LiveChart(shown.hero);
        chart->show();
        const auto* const glide = chart->findChild<FrameTimer*>();
        QWidget other;
        const std::function<void()> waysToLookAway[] = {
            [&] { shown.window.hide(); }, [&] { shown.window.showMinimized(); }, [&] { showActive(other); }};
        for (const auto& lookAway : waysToLookAway) {
            QTRY_VERIFY(shown.hero->isAnimating() && glint->isActive() && glide->isActive());
            lookAway();
            QTRY_VERIFY(!shown.hero->isAnimating() && !glint->isActive() && !glide->isActive());
            showActive(other);
            other.close();
            shown.window.showNormal();
            shown.window.activateWindow();
        }
        QTRY_VERIFY(shown.hero->isAnimating());
    }

    void chartDraws()
    {
        // A minute ago, and half a minute ago.
        const std::tuple<QList<int>, int, int> cases[] = {
            {{50}, -1, -1},
            {QList<int>(30, 90) + QList<int>(61, 50), 50, 50}, // the oldest goes
            {QList<int>(61, -1), -1, -1},
            {QList<int>(10, 50) + QList<int>(41, -1) + QList<int>(10, 50), 50, 50}, // on over a gap
            {QList<int>(61, 250), 100, 100},
        };
        for (const auto& [values, first, second] : cases) {
            QWidget window;
            window.resize(590, 122);
            auto* const chart = new LiveChart(&window);
            chart->resize(window.size());
            chart->addSeries(Qt::red);
            showActive(window);
            window.hide();
            for (const int value : values)
                chart->pushSample({value});
            for (const bool isShown : {false, true}) {
                window.setVisible(isShown);
                QVERIFY(std::abs(curveAt(*chart, 1) - first) <= 1 && std::abs(curveAt(*chart, 290) - second) <= 1);
            }
        }
    }

    /// A new sample adds to the picture that there is. With steps of whole pixels nothing may show it, but for a few
    /// pixels at the edges of a line, whose coverage is reckoned from where a path begins.
    void chartGrowsAsIfDrawnAnew()
    {
        QList<QList<int>> samples;
        const auto makeChart = [&samples](QWidget* parent) {
            auto* const chart = new LiveChart(parent);
            chart->resize(59 * 20, 122);
            for (const QColor color : {Qt::red, Qt::green, Qt::blue})
                chart->addSeries(color);
            for (const QList<int>& sample : std::as_const(samples))
                chart->pushSample(sample);
            return chart;
        };
        QWidget window;
        LiveChart* const chart = makeChart(&window);
        window.show();
        QWidget front;
        showActive(front); // nothing glides in the other one
        QRandomGenerator random(7);
        for (int i = 0; i < 130; ++i) {
            const bool isGap = i > 90 && i < 100;
            samples.append({random.bounded(60), isGap ? -1 : random.bounded(i == 80 ? 100 : 50), -1});
            chart->pushSample(samples.constLast());
            const QImage grown = chart->grab().toImage();
            if (i % 10 != 1)
                continue;
            const std::unique_ptr<LiveChart> other(makeChart(nullptr));
            const QImage anew = other->grab().toImage();
            QCOMPARE(anew.pixelColor(300, 20).alpha(), 0); // above the curves
            for (int at = 0; at < anew.width() * anew.height(); ++at) {
                const QPoint pixel(at % anew.width(), at / anew.width());
                QVERIFY(difference(grown.pixelColor(pixel), anew.pixelColor(pixel)) <= 32);
            }
        }
    }

    /// The background is composed for each paint, mostly for a few pixels of it: no seam may show where two such meet.
    void backgroundInPieces()
    {
        HeroWindow hero;
        hero.resize(700, 540);
        const QImage whole = hero.backgroundSlice(hero.rect()).toImage();
        int largest = 0;
        for (int y = 0; y < hero.height(); y += 37) {
            for (int x = 0; x < hero.width(); x += 41) {
                const QImage piece = hero.backgroundSlice(QRect(x, y, 41, 37)).toImage();
                const QPoint origin = (QPointF(x, y) * whole.devicePixelRatio()).toPoint();
                for (int i = 0; i < piece.width() * piece.height(); ++i) {
                    const QPoint at(i % piece.width(), i / piece.width());
                    if (whole.rect().contains(at + origin)) // Sizes and places are rounded apart from each other.
                        largest = std::max(largest, difference(piece.pixelColor(at), whole.pixelColor(at + origin)));
                }
            }
        }
        QVERIFY2(largest <= 1, qPrintable(QString::number(largest)));
    }

    void ringFollowsTheKeyboardOnly()
    {
        const FocusRing ring;
        auto* const page = new QWidget;
        auto* const first = new QPushButton(page);
        auto* const second = new ToggleSwitch(page);
        showActive(*page);
        QTest::mouseClick(first, Qt::LeftButton);
        QVERIFY(!ring.target());
        QTest::keyClick(first, Qt::Key_Tab);
        QCOMPARE(ring.target(), second);
        QVERIFY(second->grab().toImage().pixelColor(second->width() / 2, 0).value() > 150);
        // Along into the dialog that a key opens, and gone with the next click, wherever that is.
        whenDialogOpens([&](QDialog* dialog) {
            QCOMPARE(ring.target(), dialog->focusWidget());
            dialog->reject();
        });
        connect(second, &QAbstractButton::clicked, page, [page] { AppDialog::info(page, u"Title"_s, u"Text"_s); });
        QTest::keyClick(second, Qt::Key_Space);
        page->activateWindow();
        QTRY_COMPARE(ring.target(), second);
        QTest::mouseClick(page, Qt::LeftButton, Qt::NoModifier, QPoint(1, 1));
        QVERIFY(!ring.target());
        QTest::keyClick(second, Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(ring.target(), first);
        delete page;
        QVERIFY(!ring.target());
    }

    void keysAndNamesOfControls()
    {
        ShownWindow shown;
        QList<QAbstractButton*> pressed{new QPushButton(shown.hero), new ToggleSwitch(shown.hero)};
        for (QAbstractButton* const each : std::as_const(pressed)) {
            each->show();
            each->setFocus();
            const QSignalSpy clicked(each, &QAbstractButton::clicked);
            QTest::keyClick(each, Qt::Key_Return);
            QTest::keyClick(each, Qt::Key_Space);
            QCOMPARE(clicked.size(), 2);
        }
        SpeedGauge gauge;
        gauge.setPhase(SpeedGauge::Phase::Upload);
        gauge.setSpeed(99.9);
        QCOMPARE(gauge.accessibleName() + u' ' + valueOf(gauge), u"Upload 99.9 Mbps"_s);
        auto* const minimize = named<WindowButton>(shown.window, u"Minimize"_s);
        QCOMPARE(QAccessible::queryAccessibleInterface(minimize)->role(), QAccessible::Button);
        QTest::mouseClick(minimize, Qt::LeftButton);
        QTRY_VERIFY(shown.window.isMinimized());
        shown.window.showNormal();
        QTest::mouseClick(named<WindowButton>(shown.window, u"Close"_s), Qt::LeftButton);
        QVERIFY(!shown.window.isVisible());
    }

    /// The next window stands where the last one stood, and none is larger than the screen allows.
    void windowsTakeEachOthersPlace()
    {
        QWidget former;
        former.setGeometry(30, 40, 420, 330);
        for (const auto& [size, place] :
             {std::pair(QSize(4000, 3000), static_cast<QWidget*>(nullptr)), {QSize(400, 300), &former}}) {
            auto* const content = new QWidget;
            content->resize(size);
            ChromeWindow window(content, u"Torvelane"_s);
            window.takePlaceOf(place);
            QVERIFY(QGuiApplication::primaryScreen()->availableGeometry().contains(window.geometry()));
            if (place)
                QCOMPARE(window.geometry().center(), place->geometry().center());
        }
    }

    void longTextsAreWhole()
    {
        QWidget window;
        window.resize(700, 540);
        const QString path = u"HKLM\\SOFTWARE\\"_s + u"VeryLongNameOfAKey\\"_s.repeated(12);
        auto* const column = new QVBoxLayout(&window);
        auto* const shortened = new ListRow(u"game.exe"_s, path, &window);
        auto* const wrapped = new ListRow(u"Caches"_s, path, &window, ListRow::Details::Wrapped);
        QPushButton* const clean = wrapped->addButton(u"Clean"_s);
        column->addWidget(shortened);
        column->addWidget(wrapped);
        showActive(window);
        QCOMPARE(tooltipOf(*wrapped), QString());
        QVERIFY(tooltipOf(*shortened).contains(path));
        QCOMPARE(clean->accessibleName(), u"Clean, Caches"_s);
        clean->setText(u"Clean this one up"_s); // moves the button, and nothing is cut off
        QTRY_VERIFY(clean->width() >= clean->sizeHint().width());
        QVERIFY(wrapped->rect().contains(clean->geometry()));

        whenDialogOpens([&](QDialog* dialog) {
            const auto* const area = dialog->findChild<QScrollArea*>();
            const auto* const label = qobject_cast<QLabel*>(area->widget());
            const QRect needed =
                label->fontMetrics().boundingRect(QRect(0, 0, label->width(), 100000), Qt::TextWordWrap, label->text());
            QVERIFY(needed.width() <= label->width() && needed.height() <= label->height());
            QVERIFY(area->viewport()->width() >= label->width());
            QTest::keyClick(dialog->focusWidget(), Qt::Key_End);
            QCOMPARE(area->verticalScrollBar()->value(), label->height() - area->viewport()->height());
            const auto* const button = dialog->findChild<QPushButton*>();
            QVERIFY(dialog->rect().contains(QRect(button->mapTo(dialog, QPoint(0, 0)), button->sizeHint())));
            dialog->accept();
        });
        AppDialog::info(&window, u"Some tweaks failed"_s, QString(path + u'\n').repeated(20));
    }

    void dialogAnswers()
    {
        const QString markup = u"<h1>Point</h1>"_s;
        for (const auto& [key, accepted] : {std::pair(Qt::Key_Escape, false), {Qt::Key_Return, true}}) {
            bool isPlain = false;
            whenDialogOpens([&, key = key](QDialog* dialog) {
                const auto labels = dialog->findChildren<QLabel*>();
                isPlain = std::ranges::count(labels, Qt::PlainText, &QLabel::textFormat) == labels.size();
                QTest::keyClick(dialog->focusWidget(), key);
            });
            QCOMPARE(AppDialog::confirm(nullptr, markup, markup, u"Restore"_s), accepted);
            QVERIFY(isPlain);
        }
        // The session may end while a question is open, and takes its windows along.
        auto* const window = new QWidget;
        window->show();
        whenDialogOpens([&](QDialog*) { delete window; });
        QVERIFY(!AppDialog::confirm(window, u"Title"_s, u"Text"_s));
    }
};

QTEST_MAIN(tst_Widgets)
#include "tst_Widgets.moc"
