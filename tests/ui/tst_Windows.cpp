#include "platform/WindowFrame.h"
#include "ui/ChromeWindow.h"
#include "ui/HeroWindow.h"
#include "ui/WindowButton.h"

#include <QAccessible>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

#include <functional>

using namespace Qt::StringLiterals;
using namespace torvelane;

namespace {

class PressRecorder : public HeroWindow {
public:
    QList<int> rows;

protected:
    void mousePressEvent(QMouseEvent* event) override { rows.append(event->pos().y()); }
};

/// A window on the screen, with the keyboard.
struct WindowBench {
    WindowBench()
    {
        window.show();
        window.activateWindow();
        if (!QTest::qWaitFor([this] { return hero->isAnimating(); }))
            qFatal("The window doesn't move");
    }

    PressRecorder* hero = new PressRecorder;
    ChromeWindow window{hero, u"Torvelane"_s};
};

} // namespace

class tst_Windows : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void animationRunsOnlyWhileLookedAt()
    {
        WindowBench bench;
        QWidget other;
        const std::function<void()> waysToLookAway[] = {
            [&] { bench.window.hide(); },
            [&] { bench.window.showMinimized(); },
            [&] {
                other.show();
                other.activateWindow();
            },
            [&] { bench.window.move(bench.window.pos() + QPoint(30, 20)); },
        };
        for (const auto& lookAway : waysToLookAway) {
            lookAway();
            QTRY_VERIFY(!bench.hero->isAnimating());
            other.show();
            other.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&other));
            bench.window.showNormal();
            bench.window.activateWindow();
            QTRY_VERIFY(bench.hero->isAnimating());
        }
    }

    void resizeIsSettledOnce()
    {
        HeroWindow hero;
        QSignalSpy rebuilt(&hero, &HeroWindow::backgroundRebuilt);
        hero.show();
        hero.activateWindow();
        QTRY_VERIFY(hero.isAnimating());
        rebuilt.clear();
        hero.resize(960, 670);
        hero.resize(980, 680);
        QVERIFY(!hero.isAnimating());
        // The last frame fills the window meanwhile, stretched: its last column shows the background, not a gap.
        const QImage stretched = hero.grab().toImage();
        QVERIFY(rebuilt.isEmpty());
        QVERIFY(stretched.pixelColor(stretched.width() - 2, 20).blue() > 5);
        QTRY_VERIFY(hero.isAnimating());
        QCOMPARE(rebuilt.size(), 1);
        QCOMPARE(hero.backgroundSlice(hero.rect()).deviceIndependentSize().toSize(), hero.size());
    }

    void sliceIsTheBackgroundAsShown()
    {
        HeroWindow hero;
        const QRect corner(0, 0, 24, 24); // no star comes here
        const QImage slice = hero.backgroundSlice(corner).toImage();
        QVERIFY(!slice.hasAlphaChannel());
        QCOMPARE(slice.convertToFormat(QImage::Format_RGB32),
                 hero.grab(corner).toImage().convertToFormat(QImage::Format_RGB32));
        QCOMPARE(hero.backgroundSlice(QRect(-20, -10, 60, 40)).deviceIndependentSize(), QSizeF(40, 30));
        QVERIFY(hero.backgroundSlice(QRect(hero.width(), 0, 10, 10)).isNull());
        HeroWindow tiny;
        tiny.setMinimumSize(1, 1);
        tiny.resize(1, 500);
        QVERIFY(tiny.backgroundSlice(QRect(0, 0, 1, 1)).isNull());
        tiny.grab();
    }

    void dragStrip()
    {
        const WindowBench bench;
        // The buttons' plate on a window 940 wide: 80 by 32, 10 from the top and from the right.
        const QList<QPoint> inside{{0, 0}, {300, 35}, {940, 10}, {849, 20}, {900, 9}};
        const QList<QPoint> outside{{300, 36}, {300, -1}, {-1, 10}, {941, 10}, {850, 20}, {929, 20}, {900, 10}};
        QList<QPoint> dragging = inside + outside;
        dragging.removeIf([&](const QPoint& point) { return !bench.window.dragsAt(point); });
        QCOMPARE(dragging, inside);
        if (platform::movesWindowsByHitTest())
            QSKIP("the system keeps presses on the strip to itself here");
        QWindow* const handle = bench.window.windowHandle();
        QTest::mousePress(handle, Qt::LeftButton, Qt::NoModifier, QPoint(300, 35));
        QTest::mouseRelease(handle, Qt::LeftButton, Qt::NoModifier, QPoint(300, 35));
        QTest::mouseDClick(handle, Qt::LeftButton, Qt::NoModifier, QPoint(300, 10));
        QCOMPARE(bench.window.windowState() & Qt::WindowMaximized, Qt::WindowNoState);
        QTest::mousePress(handle, Qt::LeftButton, Qt::NoModifier, QPoint(300, 36));
        QCOMPARE(bench.hero->rows, QList<int>{36});
    }

    void buttonsOfTheWindow()
    {
        WindowBench bench;
        QStringList names;
        const auto buttons = bench.window.findChildren<WindowButton*>();
        for (WindowButton* const button : buttons) {
            const QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(button);
            QCOMPARE(face->role(), QAccessible::Button);
            names.append(face->text(QAccessible::Name));
        }
        QCOMPARE(names, QStringList({u"Minimize"_s, u"Close"_s}));
        QTest::mouseClick(buttons[0], Qt::LeftButton);
        QTRY_VERIFY(bench.window.isMinimized());
        bench.window.showNormal();
        QTest::mouseClick(buttons[1], Qt::LeftButton);
        QVERIFY(!bench.window.isVisible());
    }
};

QTEST_MAIN(tst_Windows)
#include "tst_Windows.moc"
