#include "ui/AppDialog.h"
#include "ui/FocusRing.h"
#include "ui/GradientButton.h"
#include "ui/HeroWindow.h"
#include "ui/SmoothScroller.h"
#include "ui/Theme.h"
#include "ui/ToggleSwitch.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QGraphicsEffect>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <functional>

using namespace torvelane;

namespace {

constexpr int notchDown = -120;

// A shown scroll area over rows of labels, with a combo box among them.
struct ScrollPage {
    QScrollArea area;
    QComboBox* combo = new QComboBox;

    ScrollPage()
    {
        auto* const rows = new QWidget;
        auto* const column = new QVBoxLayout(rows);
        combo->addItems({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
        column->addWidget(combo);
        rows->setMinimumHeight(3000);
        area.setWidget(rows);
        area.setWidgetResizable(true);
        area.resize(300, 200);
        area.verticalScrollBar()->setSingleStep(10);
        area.show();
        QVERIFY(QTest::qWaitForWindowExposed(&area));
    }

    QScrollBar* bar() const { return area.verticalScrollBar(); }
};

bool turnWheel(QWidget* over, int delta)
{
    const QPointF at(over->rect().center());
    QWheelEvent event(at, over->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    return QApplication::sendEvent(over, &event) && event.isAccepted();
}

// Runs a function on the dialog once it is open, while the caller stays inside of confirm() or info().
void whenDialogOpens(const std::function<void(QDialog*)>& act)
{
    auto* const poll = new QTimer(qApp);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, act] {
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isActiveWindow())
            return;
        delete poll;
        act(dialog);
    });
    poll->start(1);
}

QStringList buttonTexts(const QDialog* dialog)
{
    QStringList texts;
    for (const QPushButton* button : dialog->findChildren<QPushButton*>())
        texts.append(button->text());
    texts.sort();
    return texts;
}

} // namespace

class tst_Controls : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void quickNotchesAddUp();
    void notchStartsWhereTheBarWasDraggedTo();
    void notchAtTheEndStaysThere();
    void comboBoxKeepsItsWheel();
    void wheelPassesWhereNothingScrolls();
    void scrollingPausesTheBackground();

    void switchOnHiddenPageJumps();
    void switchLeavesTheStateToItsOwner();
    void switchTellsAssistiveTechnology();
    void releaseGoesOnFromThePressedScale();
    void hiddenOrOutlinedButtonStandsStill();
    void ringFollowsTheKeyboardOnly();

    void dialogAnswers_data();
    void dialogAnswers();
    void dialogShowsMarkupAsText();
    void infoHasOneButton();
    void dialogOutlivesItsParent();

    void fadeLeavesAnotherEffectAlone();

private:
    SmoothScroller m_scroller;
};

void tst_Controls::initTestCase()
{
    applyTheme(*qApp);
    qApp->installEventFilter(&m_scroller);
}

void tst_Controls::quickNotchesAddUp()
{
    const ScrollPage page;
    for (int i = 0; i < 3; ++i)
        QVERIFY(turnWheel(page.area.viewport(), notchDown));
    QTRY_COMPARE(page.bar()->value(), 120);
    QVERIFY(turnWheel(page.area.viewport(), -notchDown));
    QTRY_COMPARE(page.bar()->value(), 80);
}

void tst_Controls::notchStartsWhereTheBarWasDraggedTo()
{
    const ScrollPage page;
    QVERIFY(turnWheel(page.area.viewport(), notchDown));
    QTRY_COMPARE(page.bar()->value(), 40);
    // The last value arrives a moment before the glide ends.
    const auto* const glide = page.bar()->findChild<QPropertyAnimation*>();
    QTRY_COMPARE(glide->state(), QAbstractAnimation::Stopped);
    page.bar()->setValue(1000);
    QVERIFY(turnWheel(page.area.viewport(), notchDown));
    QTRY_COMPARE(page.bar()->value(), 1040);
}

void tst_Controls::notchAtTheEndStaysThere()
{
    const ScrollPage page;
    page.bar()->setValue(page.bar()->maximum() - 15);
    QVERIFY(turnWheel(page.area.viewport(), notchDown));
    QVERIFY(turnWheel(page.area.viewport(), notchDown));
    QTRY_COMPARE(page.bar()->value(), page.bar()->maximum());
    QVERIFY(turnWheel(page.area.viewport(), -notchDown));
    QTRY_COMPARE(page.bar()->value(), page.bar()->maximum() - 40);
}

void tst_Controls::comboBoxKeepsItsWheel()
{
    const ScrollPage page;
    QVERIFY(turnWheel(page.combo, notchDown));
    QCOMPARE(page.combo->currentIndex(), 1);
    QCOMPARE(page.bar()->value(), 0);
    QVERIFY(!page.bar()->findChild<QPropertyAnimation*>());
}

void tst_Controls::wheelPassesWhereNothingScrolls()
{
    QScrollArea area;
    auto* const content = new QWidget;
    content->resize(10, 10);
    area.setWidget(content);
    area.resize(300, 200);
    area.show();
    QVERIFY(QTest::qWaitForWindowExposed(&area));
    QVERIFY(!turnWheel(area.viewport(), notchDown));

    const ScrollPage page;
    QVERIFY(!turnWheel(page.area.viewport(), 0));
    QVERIFY(!page.bar()->findChild<QPropertyAnimation*>());
}

void tst_Controls::scrollingPausesTheBackground()
{
    HeroWindow hero;
    auto* const page = new QScrollArea(&hero);
    auto* const rows = new QWidget;
    rows->setFixedSize(100, 3000);
    page->setWidget(rows);
    hero.show();
    hero.activateWindow();
    QTRY_VERIFY(hero.isAnimating());
    QVERIFY(turnWheel(rows, notchDown));
    QVERIFY(!hero.isAnimating());
    QTRY_VERIFY(hero.isAnimating());
}

void tst_Controls::switchOnHiddenPageJumps()
{
    QWidget page;
    ToggleSwitch toggle(&page);
    toggle.setOn(true, true);
    QCOMPARE(toggle.knobPos(), 1.0);

    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    toggle.setOn(false, true);
    QVERIFY(!toggle.isOn());
    QCOMPARE(toggle.knobPos(), 1.0);
    QTRY_VERIFY(toggle.knobPos() > 0.0 && toggle.knobPos() < 1.0);
    // Set right in the middle, as when a change turns out to have failed: the running animation must not go on.
    toggle.setOn(true, false);
    QCOMPARE(toggle.knobPos(), 1.0);
    toggle.setOn(false, true);
    QTRY_COMPARE(toggle.knobPos(), 0.0);
}

void tst_Controls::switchLeavesTheStateToItsOwner()
{
    QWidget page;
    auto* const column = new QVBoxLayout(&page);
    auto* const toggle = new ToggleSwitch;
    column->addWidget(new QPushButton(QStringLiteral("first")));
    column->addWidget(toggle);
    page.show();
    page.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&page));
    QSignalSpy clicked(toggle, &QAbstractButton::clicked);

    QTest::mouseClick(toggle, Qt::LeftButton);
    QCOMPARE(clicked.size(), 1);
    QVERIFY(!toggle->isOn());
    QVERIFY(!toggle->hasFocus());

    page.setFocus();
    QTest::keyClick(&page, Qt::Key_Tab);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QVERIFY(toggle->hasFocus());
    QTest::keyClick(toggle, Qt::Key_Space);
    QCOMPARE(clicked.size(), 2);

    toggle->setEnabled(false);
    QTest::mouseClick(toggle, Qt::LeftButton);
    QCOMPARE(clicked.size(), 2);
}

void tst_Controls::switchTellsAssistiveTechnology()
{
    ToggleSwitch toggle;
    toggle.setAccessibleName(QStringLiteral("Disable Game DVR"));
    QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(&toggle);
    QVERIFY(face);
    QCOMPARE(face->role(), QAccessible::CheckBox);
    QCOMPARE(face->text(QAccessible::Name), QStringLiteral("Disable Game DVR"));
    QVERIFY(face->state().checkable);
    QVERIFY(!face->state().checked);
    toggle.setOn(true, false);
    QVERIFY(face->state().checked);

    QSignalSpy clicked(&toggle, &QAbstractButton::clicked);
    face->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    QCOMPARE(clicked.size(), 1);
}

void tst_Controls::releaseGoesOnFromThePressedScale()
{
    GradientButton button(QStringLiteral("Scan"));
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    QTest::mousePress(&button, Qt::LeftButton);
    QTRY_VERIFY(button.scaleFactor() < 1.0);
    const double pressed = button.scaleFactor();
    QTest::mouseRelease(&button, Qt::LeftButton);
    QCOMPARE(button.scaleFactor(), pressed);
    QTRY_COMPARE(button.scaleFactor(), 1.0);
}

void tst_Controls::hiddenOrOutlinedButtonStandsStill()
{
    GradientButton button(QStringLiteral("Scan"));
    const auto* const sheen = button.findChild<QTimer*>();
    button.show();
    QVERIFY(sheen->isActive());
    button.hide();
    QVERIFY(!sheen->isActive());
    button.show();
    button.setStyle(GradientButton::Style::Outline);
    QVERIFY(!sheen->isActive());
    button.hide();
    button.show();
    QVERIFY(!sheen->isActive());
}

void tst_Controls::ringFollowsTheKeyboardOnly()
{
    const FocusRing ring;
    auto* const page = new QWidget;
    auto* const column = new QVBoxLayout(page);
    auto* const first = new QPushButton(QStringLiteral("first"));
    auto* const second = new ToggleSwitch;
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
    QTest::keyClick(second, Qt::Key_Backtab);
    QCOMPARE(ring.target(), first);
    delete page;
    QVERIFY(!ring.target());
}

void tst_Controls::dialogAnswers_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("accept");
    QTest::addColumn<QString>("cancel");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<bool>("accepted");

    const QString none;
    const QStringList defaults{QStringLiteral("Cancel"), QStringLiteral("Confirm")};
    QTest::newRow("Escape refuses") << int(Qt::Key_Escape) << none << none << defaults << false;
    QTest::newRow("Return accepts") << int(Qt::Key_Return) << none << none << defaults << true;
    QTest::newRow("own texts") << int(Qt::Key_Return) << QStringLiteral("Restore") << QStringLiteral("Keep")
                               << QStringList{QStringLiteral("Keep"), QStringLiteral("Restore")} << true;
}

void tst_Controls::dialogAnswers()
{
    QFETCH(const int, key);
    QFETCH(const QString, accept);
    QFETCH(const QString, cancel);
    QFETCH(const QStringList, texts);
    QWidget window;
    auto* const inside = new QWidget(&window);
    window.setGeometry(50, 60, 500, 400);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QStringList seen;
    QRect covered;
    whenDialogOpens([&](QDialog* dialog) {
        seen = buttonTexts(dialog);
        covered = dialog->geometry();
        QTest::keyClick(dialog->focusWidget(), static_cast<Qt::Key>(key));
    });
    const bool accepted =
        AppDialog::confirm(inside, QStringLiteral("Title"), QStringLiteral("Text"), accept, cancel, true);
    QCOMPARE(seen, texts);
    QCOMPARE(covered, window.frameGeometry());
    QTEST(accepted, "accepted");
}

void tst_Controls::dialogShowsMarkupAsText()
{
    const QString name = QStringLiteral("<h1>Point</h1>");
    int wide = 0;
    whenDialogOpens([&](QDialog* dialog) {
        for (const QLabel* label : dialog->findChildren<QLabel*>())
            wide += label->textFormat() == Qt::PlainText && label->text() == name;
        dialog->reject();
    });
    QVERIFY(!AppDialog::confirm(nullptr, name, name));
    QCOMPARE(wide, 2);
}

void tst_Controls::infoHasOneButton()
{
    QStringList seen;
    whenDialogOpens([&](QDialog* dialog) {
        seen = buttonTexts(dialog);
        QTest::mouseClick(dialog->findChild<QPushButton*>(), Qt::LeftButton);
    });
    AppDialog::info(nullptr, QStringLiteral("Title"), QStringLiteral("Text"));
    QCOMPARE(seen, QStringList{QStringLiteral("OK")});
}

void tst_Controls::dialogOutlivesItsParent()
{
    // The session may end while a question is open, and takes its windows along.
    auto* const window = new QWidget;
    window->show();
    whenDialogOpens([&](QDialog*) { delete window; });
    QVERIFY(!AppDialog::confirm(window, QStringLiteral("Title"), QStringLiteral("Text")));
}

void tst_Controls::fadeLeavesAnotherEffectAlone()
{
    QWidget page;
    fadeInWidget(&page, 10);
    QVERIFY(!page.graphicsEffect());
    page.show();
    fadeInWidget(&page, 10);
    QVERIFY(page.graphicsEffect());
    QTRY_VERIFY(!page.graphicsEffect());

    fadeInWidget(&page, 10);
    const QPointer<QPropertyAnimation> fade = page.findChild<QPropertyAnimation*>();
    auto* const other = new QGraphicsBlurEffect;
    page.setGraphicsEffect(other);
    QTRY_VERIFY(!fade);
    QCOMPARE(page.graphicsEffect(), other);
}

QTEST_MAIN(tst_Controls)
#include "tst_Controls.moc"
