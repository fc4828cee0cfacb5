#include "platform/WindowFrame.h"
#include "ui/ChromeWindow.h"
#include "ui/HeroWindow.h"
#include "ui/PausableClock.h"
#include "ui/WinControls.h"
#include "ui/WindowButton.h"

#include <QAccessible>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

#include <memory>

using namespace torvelane;

namespace {

class PressRecorder : public HeroWindow {
public:
    QList<int> rows;

protected:
    void mousePressEvent(QMouseEvent* event) override { rows.append(event->pos().y()); }
};

std::unique_ptr<ChromeWindow> shownWindow(HeroWindow* content)
{
    auto window = std::make_unique<ChromeWindow>(content, QStringLiteral("Torvelane"));
    window->show();
    window->activateWindow();
    return window;
}

} // namespace

class tst_Windows : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void phasesGoOnAfterAPause();
    void animationRunsOnlyWhileLookedAt();
    void movingHoldsTheAnimation();
    void resizeIsSettledOnce();
    void sliceIsTheBackgroundAsShown();
    void sliceAtTheEdges();

    void smallContentIsRaised();
    void dragStrip_data();
    void dragStrip();
    void stripTakesPressesFromTheContent();
    void buttonsOfTheWindow();
};

void tst_Windows::phasesGoOnAfterAPause()
{
    PausableClock clock;
    QCOMPARE(clock.seconds(1500), 1.5);
    clock.pause(2000);
    clock.pause(9000); // it already stands
    QCOMPARE(clock.seconds(60000), 2.0);
    clock.resume(62000);
    clock.resume(70000);
    QCOMPARE(clock.seconds(62000), 2.0);
    QCOMPARE(clock.seconds(63250), 3.25);
    clock.pause(64000);
    clock.resume(65000);
    QCOMPARE(clock.seconds(66000), 5.0);
}

void tst_Windows::animationRunsOnlyWhileLookedAt()
{
    QWidget other;
    auto* const hero = new HeroWindow;
    QVERIFY(!hero->isAnimating());
    const auto window = shownWindow(hero);
    QTRY_VERIFY(hero->isAnimating());

    window->hide();
    QVERIFY(!hero->isAnimating());
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    window->show();
    window->activateWindow();
    QTRY_VERIFY(hero->isAnimating());

    window->showMinimized();
    QTRY_VERIFY(!hero->isAnimating());
    window->showNormal();
    window->activateWindow();
    QTRY_VERIFY(hero->isAnimating());

    other.activateWindow();
    QTRY_VERIFY(!hero->isAnimating());
    other.close();
    window->activateWindow();
    QTRY_VERIFY(hero->isAnimating());
}

void tst_Windows::movingHoldsTheAnimation()
{
    auto* const hero = new HeroWindow;
    const auto window = shownWindow(hero);
    QTRY_VERIFY(hero->isAnimating());
    window->move(window->pos() + QPoint(30, 20));
    QTRY_VERIFY(!hero->isAnimating());
    QTRY_VERIFY(hero->isAnimating());
}

void tst_Windows::resizeIsSettledOnce()
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
    QTRY_COMPARE(rebuilt.size(), 1);
    QTRY_VERIFY(hero.isAnimating());
    QCOMPARE(hero.backgroundSlice(hero.rect()).deviceIndependentSize().toSize(), hero.size());
    QCOMPARE(rebuilt.size(), 1);
}

void tst_Windows::sliceIsTheBackgroundAsShown()
{
    HeroWindow hero;
    const QRect corner(0, 0, 24, 24); // no star comes here
    const QImage slice = hero.backgroundSlice(corner).toImage();
    const QImage shown = hero.grab(corner).toImage();
    QCOMPARE(slice.size(), shown.size());
    QCOMPARE(slice.convertToFormat(QImage::Format_RGB32), shown.convertToFormat(QImage::Format_RGB32));
    QVERIFY(!slice.hasAlphaChannel());
}

void tst_Windows::sliceAtTheEdges()
{
    HeroWindow hero;
    const auto sliceSize = [&hero](const QRect& rect) {
        return hero.backgroundSlice(rect).deviceIndependentSize().toSize();
    };
    QCOMPARE(sliceSize(QRect(100, 100, 60, 40)), QSize(60, 40));
    QCOMPARE(sliceSize(QRect(-20, -10, 60, 40)), QSize(40, 30));
    QCOMPARE(sliceSize(QRect(hero.width() - 20, hero.height() - 10, 60, 40)), QSize(20, 10));
    QVERIFY(hero.backgroundSlice(QRect(hero.width(), 0, 10, 10)).isNull());
    QVERIFY(hero.backgroundSlice(QRect(-50, 0, 50, 10)).isNull());
    QVERIFY(hero.backgroundSlice(QRect()).isNull());

    HeroWindow tiny;
    tiny.setMinimumSize(1, 1);
    tiny.resize(1, 500);
    QVERIFY(tiny.backgroundSlice(QRect(0, 0, 1, 1)).isNull());
    tiny.grab();
}

void tst_Windows::smallContentIsRaised()
{
    auto* const content = new QWidget;
    content->resize(390, 310);
    const ChromeWindow window(content, QStringLiteral("Torvelane"));
    QCOMPARE(window.minimumSize(), QSize(400, 310));
    QCOMPARE(window.maximumSize(), QSize(400, 310));
}

void tst_Windows::dragStrip_data()
{
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<bool>("drags");

    // The buttons' plate on a window 940 wide: 80 by 32, 10 from the top and from the right.
    QTest::newRow("top left corner") << QPoint(0, 0) << true;
    QTest::newRow("last row") << QPoint(300, 35) << true;
    QTest::newRow("row below") << QPoint(300, 36) << false;
    QTest::newRow("above") << QPoint(300, -1) << false;
    QTest::newRow("left of it") << QPoint(-1, 10) << false;
    QTest::newRow("right edge") << QPoint(940, 10) << true;
    QTest::newRow("beyond") << QPoint(941, 10) << false;
    QTest::newRow("beside the buttons") << QPoint(849, 20) << true;
    QTest::newRow("first column of the buttons") << QPoint(850, 20) << false;
    QTest::newRow("last column of the buttons") << QPoint(929, 20) << false;
    QTest::newRow("above the buttons") << QPoint(900, 9) << true;
    QTest::newRow("on the buttons") << QPoint(900, 10) << false;
}

void tst_Windows::dragStrip()
{
    QFETCH(const QPoint, point);
    const auto window = shownWindow(new HeroWindow);
    QTEST(window->dragsAt(point), "drags");
}

void tst_Windows::stripTakesPressesFromTheContent()
{
    if (platform::movesWindowsByHitTest())
        QSKIP("the system keeps these presses to itself here");
    auto* const hero = new PressRecorder;
    const auto window = shownWindow(hero);
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    QTest::mousePress(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 35));
    QTest::mouseRelease(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 35));
    QTest::mouseDClick(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 10));
    QCOMPARE(window->windowState() & Qt::WindowMaximized, Qt::WindowNoState);
    QTest::mousePress(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 36));
    QCOMPARE(hero->rows, QList<int>{36});
}

void tst_Windows::buttonsOfTheWindow()
{
    const auto window = shownWindow(new HeroWindow);
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    const auto buttons = window->findChild<WinControls*>()->findChildren<WindowButton*>();
    QStringList names;
    for (WindowButton* const button : buttons) {
        const QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(button);
        QCOMPARE(face->role(), QAccessible::Button);
        names.append(face->text(QAccessible::Name));
    }
    QCOMPARE(names, QStringList({QStringLiteral("Minimize"), QStringLiteral("Close")}));

    QTest::mouseClick(buttons[0], Qt::LeftButton);
    QTRY_VERIFY(window->isMinimized());
    window->showNormal();
    QTest::mouseClick(buttons[1], Qt::LeftButton);
    QVERIFY(!window->isVisible());
}

QTEST_MAIN(tst_Windows)
#include "tst_Windows.moc"
