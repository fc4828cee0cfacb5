#include "platform/WindowFrame.h"
#include "ui/WindowBench.h"
#include "ui/controls/AppDialog.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/FrameTimer.h"
#include "ui/controls/GradientButton.h"
#include "ui/controls/UsernameLabel.h"
#include "ui/controls/WindowButton.h"
#include "ui/theme/Icons.h"
#include "ui/windows/ChromeWindow.h"
#include "ui/windows/HeroWindow.h"
#include "ui/windows/SmoothScroller.h"

#include <QComboBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QWheelEvent>
#include <QWindow>

#include <cmath>

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

/// The ink on a coarse grid, which is indifferent to the width of a line.
using Coverage = QList<double>;

/// Close to 1 for drawings that look alike, 0 if one of them is blank.
double likeness(const Coverage& a, const Coverage& b)
{
    const auto product = [](const Coverage& x, const Coverage& y) {
        return std::inner_product(x.begin(), x.end(), y.begin(), 0.0);
    };
    const double lengths = std::sqrt(product(a, a) * product(b, b));
    return lengths > 0 ? product(a, b) / lengths : 0.0;
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
        coverage.append(qAlpha(grid.pixel(cell % 12, cell / 12)));
    return coverage;
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
        auto* const button = new GradientButton(u"Go"_s, shown.hero);
        button->show();
        const auto* const sheen = button->findChild<FrameTimer*>();
        QWidget other;
        // A window that is only being moved is still looked at: just its background waits.
        const std::pair<std::function<void()>, bool> waysToLookAway[] = {
            {[&] { shown.window.hide(); }, true},
            {[&] { shown.window.showMinimized(); }, true},
            {[&] { showActive(other); }, true},
            {[&] { shown.window.move(shown.window.pos() + QPoint(30, 20)); }, false},
        };
        for (const auto& [lookAway, stopsAll] : waysToLookAway) {
            QTRY_VERIFY(shown.hero->isAnimating() && glint->isActive());
            lookAway();
            QTRY_VERIFY(!shown.hero->isAnimating());
            QTRY_COMPARE(glint->isActive(), !stopsAll);
            QTRY_COMPARE(sheen->isActive(), !stopsAll);
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
                    const QColor is = piece.pixelColor(at);
                    if (!whole.rect().contains(at + origin))
                        continue; // Sizes and places are rounded apart from each other.
                    const QColor was = whole.pixelColor(at + origin);
                    largest = std::max({largest, std::abs(is.red() - was.red()), std::abs(is.green() - was.green()),
                                        std::abs(is.blue() - was.blue())});
                }
            }
        }
        QVERIFY2(largest <= 1, qPrintable(QString::number(largest)));
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
        QTest::mouseClick(handle, Qt::LeftButton, Qt::NoModifier, QPoint(300, 35));
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

        showActive(page);
        toggle.setOn(false, true);
        QCOMPARE(toggle.knobPos(), 1.0);
        QTRY_VERIFY(toggle.knobPos() > 0.0 && toggle.knobPos() < 1.0);
        // Set right in the middle, as when a change turns out to have failed: the running animation must not go on.
        toggle.setOn(true, false);
        QCOMPARE(toggle.knobPos(), 1.0);
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

    void returnPressesTheFocusedButton()
    {
        const ShownWindow shown;
        auto* const button = new QPushButton(shown.hero);
        auto* const toggle = new ToggleSwitch(shown.hero);
        for (QAbstractButton* const each :
             {static_cast<QAbstractButton*>(button), static_cast<QAbstractButton*>(toggle)}) {
            each->show();
            each->setFocus();
            const QSignalSpy clicked(each, &QAbstractButton::clicked);
            QTest::keyClick(each, Qt::Key_Return);
            QTest::keyClick(each, Qt::Key_Space);
            QCOMPARE(clicked.size(), 2);
        }
    }

    /// The next window stands where the last one stood, and none is larger than the screen allows.
    void windowsTakeEachOthersPlace()
    {
        const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
        auto* const hero = new HeroWindow;
        hero->resize(4000, 3000);
        ChromeWindow large(hero, u"Torvelane"_s);
        large.takePlaceOf(nullptr);
        QCOMPARE(large.width(), std::max(available.width(), hero->minimumWidth()));
        QCOMPARE(large.height(), std::max(available.height(), hero->minimumHeight()));
        QVERIFY(available.contains(large.pos()));

        auto* const content = new QWidget;
        content->resize(400, 300);
        ChromeWindow small(content, u"Torvelane"_s);
        QWidget former;
        former.setGeometry(30, 40, 420, 330);
        small.takePlaceOf(&former);
        QCOMPARE(small.geometry().center(), former.geometry().center());
        former.move(available.bottomRight());
        small.takePlaceOf(&former);
        QVERIFY(available.contains(small.geometry()));
    }

    void longMessagesAreWhole()
    {
        QWidget window;
        window.resize(700, 540);
        window.show();
        const QString path = u"HKLM\\SOFTWARE\\"_s + u"VeryLongNameOfAKey\\"_s.repeated(12);
        whenDialogOpens([&](QDialog* dialog) {
            const auto* const area = dialog->findChild<QScrollArea*>();
            const auto* const label = qobject_cast<QLabel*>(area->widget());
            const QRect needed =
                label->fontMetrics().boundingRect(QRect(0, 0, label->width(), 100000), Qt::TextWordWrap, label->text());
            QVERIFY2(needed.width() <= label->width(), qPrintable(QString::number(needed.width())));
            QVERIFY(needed.height() <= label->height());
            QVERIFY(area->viewport()->width() >= label->width());
            QTest::keyClick(dialog->focusWidget(), Qt::Key_End);
            QCOMPARE(area->verticalScrollBar()->value(), label->height() - area->viewport()->height());
            const auto* const button = dialog->findChild<QPushButton*>();
            QVERIFY(button->height() >= button->sizeHint().height());
            QVERIFY(dialog->rect().contains(QRect(button->mapTo(dialog, QPoint(0, 0)), button->size())));
            dialog->accept();
        });
        AppDialog::info(&window, u"Some tweaks failed"_s, QString(path + u'\n').repeated(20));
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

    void eachDrawingIsLikeItsResourceAndNoOther()
    {
        QList<Coverage> resources;
        for (int icon = 0; icon < iconCount; ++icon)
            resources.append(coverageOf(icon, false));
        for (int icon = 0; icon < iconCount; ++icon) {
            const Coverage drawing = coverageOf(icon, true);
            // One has only its drawing, and one only its resource.
            const bool isPair =
                static_cast<IconId>(icon) != IconId::Unnamed && static_cast<IconId>(icon) != IconId::Sparkles;
            QCOMPARE(likeness(resources.at(icon), drawing) > 0.95, isPair);
            for (int other = 0; isPair && other < iconCount; ++other)
                QVERIFY(other == icon
                        || likeness(resources.at(other), drawing) < likeness(resources.at(icon), drawing));
        }
        for (const int outside : {-1, iconCount})
            QCOMPARE(likeness(coverageOf(outside, false), coverageOf(outside, true)), 0.0);
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
