#include "ui/WindowBench.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/ToggleSwitch.h"
#include "ui/main/GroupPage.h"
#include "ui/main/MainWindow.h"
#include "ui/pages/AccountPage.h"
#include "ui/pages/SectionTweaksPage.h"
#include "ui/pages/TweakCard.h"
#include "ui/theme/Theme.h"

#include <QLayout>
#include <QScrollArea>
#include <QStackedWidget>

namespace {

/// The program's window over a small catalogue, unless the whole one is asked for.
struct MainBench : WindowBench {
    explicit MainBench(const QByteArrayList& entries = {registryEntry("a")}) : WindowBench(entries), window(context)
    {
        showActive(window);
    }

    /// The lit place, by assistive technology's word: the row, and the tab if there are several.
    QString place() const
    {
        QStringList parts;
        for (QPushButton* const button : window.findChildren<QPushButton*>()) {
            const QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(button);
            if (button->isVisible() && face->state().checkable && face->state().checked)
                parts.append(face->text(QAccessible::Name));
        }
        return parts.join(u", "_s);
    }

    /// The content of the current tab; for a section with a gate its wrapper, with the page and the locked panel in it.
    QWidget* section() const
    {
        const auto groups = window.findChildren<GroupPage*>();
        return (*std::ranges::find_if(groups, &GroupPage::isVisible))->findChild<QStackedWidget*>()->currentWidget();
    }

    MainWindow window;
};

} // namespace

class tst_MainWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyTheme(*qApp); }

    void opensByKeyAndByRow()
    {
        MainBench bench;
        for (const auto& [key, place] : {std::pair(u"Restore Points"_s, u"System, Restore"_s),
                                         {u"Background Services"_s, u"Optimizations, Services"_s},
                                         {u"Services"_s, u"Network, Services"_s}}) {
            bench.window.navigateTo(key);
            for (const QString& unknown : {u"System"_s, u"restore points"_s, u"SelfTest"_s, QString()})
                bench.window.navigateTo(unknown);
            QCOMPARE(bench.place(), place);
        }
        named<QPushButton>(bench.window, u"Settings"_s)->click();
        QCOMPARE(bench.place(), QString());
        named<QPushButton>(bench.window, u"Privacy"_s)->click();
        QCOMPARE(bench.place(), u"Privacy, Telemetry"_s);
        QVERIFY(!bench.window.findChild<AccountPage*>()->isVisible());
        // Home's ways to other pages.
        for (const auto& [action, place] :
             {std::pair(u"Clean my disk"_s, u"System, Cleanup"_s), {u"Optimize my network"_s, u"Network, Network"_s}}) {
            named<QPushButton>(bench.window, action)->click();
            QCOMPARE(bench.place(), place);
        }
    }

    /// On the program's own catalogue.
    void everyTweakHasItsCard()
    {
        MainBench bench(QByteArrayList{});
        for (const TweakDefinition& tweak : bench.context.catalog.definitions()) {
            if (tweak.section == u"SelfTest")
                continue;
            bench.window.navigateTo(tweak.section);
            QVERIFY2(named<TweakCard>(*bench.section(), tweak.name), qPrintable(tweak.id));
        }
    }

    /// None is in the window when it first stands, all are soon after, and each knows what has happened meanwhile.
    void pagesJoinTheWindow()
    {
        MainBench bench({registryEntry("a", R"(, "requiredTier": "pro")")});
        const auto pages = [&] { return bench.window.findChildren<SectionTweaksPage*>().size(); };
        QVERIFY(pages() < 3);
        bench.setTier(Tier::Free);
        QTRY_COMPARE(pages(), 21);
        QCOMPARE(bench.place(), u"Home"_s);
        bench.window.navigateTo(u"Explorer"_s);
        QVERIFY(named<TweakCard>(*bench.section(), u"a"_s)->isVisible());
        QVERIFY(!named<ToggleSwitch>(*bench.section(), u"a"_s));
    }

    /// Each stop of the Tab key can be seen.
    void tabStopsShowThemselves()
    {
        const FocusRing ring;
        MainBench bench;
        bench.window.navigateTo(u"Explorer"_s);
        QSet<QWidget*> stops;
        for (QWidget* last = nullptr; stops.size() < 100; stops.insert(last)) {
            QTest::keyClick(&bench.window, Qt::Key_Tab);
            last = QApplication::focusWidget();
            QCOMPARE(ring.target(), last);
            if (stops.contains(last))
                break;
        }
        QVERIFY(stops.contains(named<ToggleSwitch>(bench.window, u"a"_s)));
        QVERIFY(stops.size() < 100);
    }

    void nothingCoversTheBackdrop()
    {
        MainBench bench;
        bench.window.navigateTo(u"Explorer"_s);
        const auto areas = bench.window.findChildren<QScrollArea*>();
        QVERIFY(areas.size() >= 2);
        for (const QScrollArea* const area : areas)
            QVERIFY(!area->widget()->autoFillBackground());
    }

    void tooltipsFit()
    {
        const MainBench bench;
        QToolTip::showText(QPoint(10, 10), u"<p>"_s + u"Some more words. "_s.repeated(40) + u"</p>"_s);
        const auto windows = QApplication::topLevelWidgets();
        const auto tip = std::ranges::find_if(windows, [](QWidget* each) { return each->inherits("QTipLabel"); });
        QVERIFY(tip != windows.end() && (*tip)->width() <= 420);
        QCOMPARE((*tip)->font().families(), bodyFont(13, QFont::Normal).families());
        QToolTip::hideText();
    }

    void rowsAndTabsSayWhatTheyAre()
    {
        MainBench bench;
        bench.window.navigateTo(u"Explorer"_s);
        const auto button = [&](const QString& name) { return named<QPushButton>(bench.window, name); };
        for (const auto& [name, role, around] :
             {std::tuple(u"Personalization"_s, QAccessible::ListItem, QAccessible::List),
              {u"Explorer"_s, QAccessible::PageTab, QAccessible::PageTabList}}) {
            const QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(button(name));
            QCOMPARE(face->role(), role);
            QCOMPARE(face->parent()->role(), around);
            QVERIFY(face->state().selected);
        }
        QAccessibleInterface* const other = QAccessible::queryAccessibleInterface(button(u"Taskbar"_s));
        QVERIFY(!other->state().selected);
        other->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(bench.place(), u"Personalization, Taskbar"_s);
    }

    void tierChangesInQuickSuccession()
    {
        for (const QList<Tier>& tiers : {QList{Tier::Free, Tier::Pro}, {Tier::Free, Tier::Pro, Tier::None}}) {
            MainBench bench;
            const auto snapshots = [&] { return bench.window.findChildren<QLabel*>(u"GateSnapshot"_s).size(); };
            bench.window.navigateTo(u"Gaming Mode"_s);
            const QWidget* const page = bench.section()->layout()->itemAt(0)->widget();
            for (const Tier tier : tiers) {
                bench.setTier(tier);
                QCOMPARE(snapshots(), 1);
            }
            const QWidget* const panel = bench.section()->layout()->itemAt(1)->widget();
            QTRY_COMPARE(snapshots(), 0);
            QTRY_VERIFY(!panel->graphicsEffect());
            const bool open = tiers.constLast() == Tier::Pro;
            QCOMPARE(page->isEnabled(), open);
            QCOMPARE(panel->isVisible(), !open);
            QCOMPARE(named<QPushButton>(bench.window, u"Network"_s)->toolTip(), open ? QString() : u"Requires PRO"_s);
            // Where the pills are: nothing of the transition may lie over them, or over the page.
            QCOMPARE(panel->isAncestorOf(bench.section()->childAt(panel->geometry().center())), !open);
            auto* const pill = bench.window.findChild<QPushButton*>(u"TierPill"_s, Qt::FindDirectChildrenOnly);
            QCOMPARE(bench.window.childAt(pill->geometry().center()) == pill, !open);
        }
    }
};

QTEST_MAIN(tst_MainWindow)
#include "tst_MainWindow.moc"
