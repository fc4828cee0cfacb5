#include "platform/WindowFrame.h"
#include "ui/AppDialog.h"
#include "ui/ChromeWindow.h"
#include "ui/FocusRing.h"
#include "ui/HeroWindow.h"
#include "ui/SmoothScroller.h"
#include "ui/WindowBench.h"
#include "ui/WindowButton.h"

#include <QAccessible>
#include <QComboBox>
#include <QMouseEvent>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <QWindow>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

class PressRecorder : public HeroWindow {
public:
    QList<int> rows;

protected:
    void mousePressEvent(QMouseEvent* event) override { rows.append(event->pos().y()); }
};

struct ShownWindow {
    ShownWindow() { showActive(window); }

    PressRecorder* hero = new PressRecorder;
    ChromeWindow window{hero, u"Torvelane"_s};
};

void turnWheel(QWidget* over, int delta)
{
    const QPointF at(over->rect().center());
    QWheelEvent event(at, over->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(over, &event);
}

} // namespace

/// What windows and controls do by themselves, without a machine behind them.
class tst_Widgets : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void animationRunsOnlyWhileLookedAt()
    {
        ShownWindow shown;
        QWidget other;
        const std::function<void()> waysToLookAway[] = {
            [&] { shown.window.hide(); },
            [&] { shown.window.showMinimized(); },
            [&] { showActive(other); },
            [&] { shown.window.move(shown.window.pos() + QPoint(30, 20)); },
        };
        for (const auto& lookAway : waysToLookAway) {
            QTRY_VERIFY(shown.hero->isAnimating());
            lookAway();
            QTRY_VERIFY(!shown.hero->isAnimating());
            showActive(other);
            other.close();
            shown.window.showNormal();
            shown.window.activateWindow();
        }
        QTRY_VERIFY(shown.hero->isAnimating());
    }

    void resizeIsSettledOnce()
    {
        HeroWindow hero;
        showActive(hero);
        QSignalSpy rebuilt(&hero, &HeroWindow::backgroundRebuilt);
        hero.resize(960, 670);
        hero.resize(980, 680);
        QVERIFY(!hero.isAnimating());
        // The last frame fills the window meanwhile, stretched: its last column shows the background, not a gap.
        const QImage stretched = hero.grab().toImage();
        QVERIFY(stretched.pixelColor(stretched.width() - 2, 20).blue() > 5);
        QVERIFY(rebuilt.isEmpty());
        QTRY_VERIFY(hero.isAnimating());
        QCOMPARE(rebuilt.size(), 1);
    }

    void dragStrip()
    {
        const ShownWindow shown;
        // The buttons' plate on a window 940 wide: 80 by 32, 10 from the top and from the right.
        const QList<QPoint> inside{{0, 0}, {300, 35}, {940, 10}, {849, 20}, {900, 9}};
        const QList<QPoint> outside{{300, 36}, {300, -1}, {-1, 10}, {941, 10}, {850, 20}, {929, 20}, {900, 10}};
        QList<QPoint> dragging = inside + outside;
        dragging.removeIf([&](const QPoint& point) { return !shown.window.dragsAt(point); });
        QCOMPARE(dragging, inside);
        if (platform::movesWindowsByHitTest())
            QSKIP("the system keeps presses on the strip to itself here");
        QWindow* const handle = shown.window.windowHandle();
        QTest::mousePress(handle, Qt::LeftButton, Qt::NoModifier, QPoint(300, 35));
        QTest::mouseRelease(handle, Qt::LeftButton, Qt::NoModifier, QPoint(300, 35));
        QTest::mouseDClick(handle, Qt::LeftButton, Qt::NoModifier, QPoint(300, 10));
        QCOMPARE(shown.window.windowState() & Qt::WindowMaximized, Qt::WindowNoState);
        QTest::mousePress(handle, Qt::LeftButton, Qt::NoModifier, QPoint(300, 36));
        QCOMPARE(shown.hero->rows, QList<int>{36});
    }

    void buttonsOfTheWindow()
    {
        ShownWindow shown;
        QStringList names;
        const auto buttons = shown.window.findChildren<WindowButton*>();
        for (WindowButton* const button : buttons) {
            const QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(button);
            QCOMPARE(face->role(), QAccessible::Button);
            names.append(face->text(QAccessible::Name));
        }
        QCOMPARE(names, QStringList({u"Minimize"_s, u"Close"_s}));
        QTest::mouseClick(buttons[0], Qt::LeftButton);
        QTRY_VERIFY(shown.window.isMinimized());
        shown.window.showNormal();
        QTest::mouseClick(buttons[1], Qt::LeftButton);
        QVERIFY(!shown.window.isVisible());
    }

    void wheelGlides()
    {
        SmoothScroller scroller;
        qApp->installEventFilter(&scroller);
        const ShownWindow shown;
        auto* const area = new QScrollArea(shown.hero);
        auto* const rows = new QWidget;
        auto* const combo = new QComboBox(rows);
        combo->addItems({u"a"_s, u"b"_s});
        rows->setFixedSize(100, 3000);
        area->setWidget(rows);
        area->setFixedSize(300, 200);
        area->setFrameShape(QFrame::NoFrame);
        area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        QScrollBar& bar = *area->verticalScrollBar();
        bar.setSingleStep(10);
        area->show();
        QTRY_COMPARE(bar.maximum(), 2800);
        // Quick notches add up, but not beyond the end; a later one starts where the bar was dragged to meanwhile.
        for (const auto& [from, turns, to] :
             {std::tuple(0, QList{-120, -120, -120}, 120), {1000, {-120}, 1040}, {2785, {-120, -120, 120}, 2760}}) {
            bar.setValue(from);
            for (const int delta : turns)
                turnWheel(area->viewport(), delta);
            QVERIFY(!shown.hero->isAnimating());
            // The last value arrives a moment before the glide ends.
            const auto* const glide = bar.findChild<QPropertyAnimation*>();
            QTRY_COMPARE(glide->state(), QAbstractAnimation::Stopped);
            QCOMPARE(bar.value(), to);
        }
        QTRY_VERIFY(shown.hero->isAnimating());
        turnWheel(combo, -120);
        QCOMPARE(combo->currentIndex(), 1);
        QVERIFY(shown.hero->isAnimating());
    }

    void switchOnHiddenPageJumps()
    {
        QWidget page;
        ToggleSwitch toggle(&page);
        toggle.setOn(true, true);
        QCOMPARE(toggle.knobPos(), 1.0);

        page.show();
        toggle.setOn(false, true);
        QCOMPARE(toggle.knobPos(), 1.0);
        QTRY_VERIFY(toggle.knobPos() > 0.0 && toggle.knobPos() < 1.0);
        // Set right in the middle, as when a change turns out to have failed: the running animation must not go on.
        toggle.setOn(true, false);
        QCOMPARE(toggle.knobPos(), 1.0);
        toggle.setOn(false, true);
        QTRY_COMPARE(toggle.knobPos(), 0.0);
    }

    void ringFollowsTheKeyboardOnly()
    {
        const FocusRing ring;
        auto* const page = new QWidget;
        auto* const first = new QPushButton;
        auto* const second = new ToggleSwitch;
        auto* const column = new QVBoxLayout(page);
        column->addWidget(first);
        column->addWidget(second);
        showActive(*page);
        QTest::mouseClick(first, Qt::LeftButton);
        QVERIFY(!ring.target());
        QTest::keyClick(first, Qt::Key_Tab);
        QCOMPARE(ring.target(), second);
        const QImage ringed = second->grab().toImage();
        QVERIFY(ringed.pixelColor(ringed.width() / 2, 0).value() > 150);
        delete page;
        QVERIFY(!ring.target());
    }

    void dialogAnswers()
    {
        const QString markup = u"<h1>Point</h1>"_s;
        for (const auto& [key, accepted] : {std::pair(Qt::Key_Escape, false), {Qt::Key_Return, true}}) {
            QStringList texts;
            whenDialogOpens([&, key = key](QDialog* dialog) {
                for (const QLabel* label : dialog->findChildren<QLabel*>())
                    texts.append(label->textFormat() == Qt::PlainText ? label->text() : QString());
                for (const QPushButton* button : dialog->findChildren<QPushButton*>())
                    texts.append(button->text());
                QTest::keyClick(dialog->focusWidget(), key);
            });
            QCOMPARE(AppDialog::confirm(nullptr, markup, markup, u"Restore"_s), accepted);
            QCOMPARE(texts, QStringList({markup, markup, u"Cancel"_s, u"Restore"_s}));
        }
    }

    void dialogOutlivesItsParent()
    {
        // The session may end while a question is open, and takes its windows along.
        auto* const window = new QWidget;
        window->show();
        whenDialogOpens([&](QDialog*) { delete window; });
        QVERIFY(!AppDialog::confirm(window, u"Title"_s, u"Text"_s));
    }
};

QTEST_MAIN(tst_Widgets)
#include "tst_Widgets.moc"
