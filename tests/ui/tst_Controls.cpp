#include "ui/AppDialog.h"
#include "ui/Dialogs.h"
#include "ui/FocusRing.h"
#include "ui/HeroWindow.h"
#include "ui/SmoothScroller.h"
#include "ui/Theme.h"
#include "ui/ToggleSwitch.h"

#include <QComboBox>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QVBoxLayout>
#include <QWheelEvent>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

void turnWheel(QWidget* over, int delta)
{
    const QPointF at(over->rect().center());
    QWheelEvent event(at, over->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(over, &event);
}

} // namespace

class tst_Controls : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyTheme(*qApp); }

    void wheelGlides()
    {
        SmoothScroller scroller;
        qApp->installEventFilter(&scroller);
        HeroWindow hero;
        auto* const area = new QScrollArea(&hero);
        auto* const rows = new QWidget;
        auto* const combo = new QComboBox(rows);
        combo->addItems({u"a"_s, u"b"_s});
        rows->setFixedSize(100, 3000);
        area->setWidget(rows);
        area->setFixedSize(300, 200);
        QScrollBar& bar = *area->verticalScrollBar();
        bar.setSingleStep(10);
        hero.show();
        hero.activateWindow();
        QTRY_VERIFY(hero.isAnimating());

        const struct {
            const char* name;
            int from;
            QList<int> turns;
            int to;
        } cases[] = {
            {"quick notches add up", 0, {-120, -120, -120}, 120},
            {"the bar was dragged meanwhile", 1000, {-120}, 1040},
            {"nothing adds up beyond the end", bar.maximum() - 15, {-120, -120, 120}, bar.maximum() - 40},
        };
        for (const auto& [name, from, turns, to] : cases) {
            bar.setValue(from);
            for (const int delta : turns)
                turnWheel(area->viewport(), delta);
            QVERIFY2(!hero.isAnimating(), name);
            // The last value arrives a moment before the glide ends.
            const auto* const glide = bar.findChild<QPropertyAnimation*>();
            QTRY_COMPARE(glide->state(), QAbstractAnimation::Stopped);
            QVERIFY2(bar.value() == to, name);
        }
        QTRY_VERIFY(hero.isAnimating());
        turnWheel(combo, -120);
        QCOMPARE(combo->currentIndex(), 1);
        QVERIFY(hero.isAnimating());
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
        page->show();
        page->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(page));
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
        QWidget window;
        auto* const inside = new QWidget(&window);
        window.setGeometry(50, 60, 500, 400);
        window.show();
        for (const auto& [key, accepted] : {std::pair(Qt::Key_Escape, false), {Qt::Key_Return, true}}) {
            QRect covered;
            QStringList texts;
            whenDialogOpens([&, key = key](QDialog* dialog) {
                covered = dialog->geometry();
                for (const QLabel* label : dialog->findChildren<QLabel*>())
                    texts.append(label->textFormat() == Qt::PlainText ? label->text() : QString());
                for (const QPushButton* button : dialog->findChildren<QPushButton*>())
                    texts.append(button->text());
                QTest::keyClick(dialog->focusWidget(), key);
            });
            QCOMPARE(AppDialog::confirm(inside, markup, markup, u"Restore"_s), accepted);
            QCOMPARE(covered, window.frameGeometry());
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

QTEST_MAIN(tst_Controls)
#include "tst_Controls.moc"
