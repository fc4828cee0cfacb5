#include "ui/GroupPage.h"
#include "ui/MainWindow.h"
#include "ui/Theme.h"
#include "ui/WindowBench.h"
#include "ui/pages/AccountPage.h"
#include "ui/pages/SectionTweaksPage.h"
#include "ui/pages/TweakCard.h"

#include <QAccessible>
#include <QGraphicsBlurEffect>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

/// The program's window over a small catalogue, unless the whole one is asked for.
struct MainBench : WindowBench {
    explicit MainBench(const QByteArrayList& entries = {registryEntry("a")}) : WindowBench(entries), window(context)
    {
        showActive(window);
    }

    /// What is lit, by assistive technology's word: the row, and the tab if there are several.
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

    /// What the current tab shows; for a section with a gate its wrapper, with the page and the locked panel in it.
    QWidget* section() const
    {
        const auto groups = window.findChildren<GroupPage*>();
        return (*std::ranges::find_if(groups, &GroupPage::isVisible))->findChild<QStackedWidget*>()->currentWidget();
    }

    QWidget* gatedPage() const { return section()->layout()->itemAt(0)->widget(); }
    QWidget* lockedPanel() const { return section()->layout()->itemAt(1)->widget(); }

    MainWindow window;
};

} // namespace

class tst_MainWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyTheme(*qApp); }

    void opensByKey()
    {
        MainBench bench;
        QCOMPARE(bench.place(), u"Home"_s);
        for (const auto& [key, place] : {std::pair(u"Restore Points"_s, u"System, Restore"_s),
                                         {u"Background Services"_s, u"Optimizations, Services"_s},
                                         {u"Services"_s, u"Network, Services"_s},
                                         {u"Network"_s, u"Network, Network"_s}}) {
            bench.window.navigateTo(key);
            QCOMPARE(bench.place(), place);
            for (const QString& unknown : {u"System"_s, u"restore points"_s, u"SelfTest"_s, QString()})
                bench.window.navigateTo(unknown);
            QCOMPARE(bench.place(), place);
        }
    }

    void settingsLightNoRow()
    {
        MainBench bench;
        const auto* const account = bench.window.findChild<AccountPage*>();
        for (const auto& [row, place] : {std::pair(u"Privacy"_s, u"Privacy, Telemetry"_s), {u"Home"_s, u"Home"_s}}) {
            named<QPushButton>(bench.window, row)->click();
            QCOMPARE(bench.place(), place);
            QVERIFY(!account->isVisible());
            named<QPushButton>(bench.window, u"Settings"_s)->click();
            QCOMPARE(bench.place(), QString());
            QVERIFY(account->isVisible());
        }
    }

    /// On the program's own catalogue.
    void everySectionHasItsPage()
    {
        MainBench bench(QByteArrayList{});
        QHash<QString, qsizetype> tweaks;
        for (const TweakDefinition& tweak : bench.context.catalog.definitions())
            ++tweaks[tweak.section];
        QVERIFY(tweaks.remove(u"SelfTest"_s));
        for (auto section = tweaks.cbegin(); section != tweaks.cend(); ++section) {
            bench.window.navigateTo(section.key());
            const auto* const page = qobject_cast<SectionTweaksPage*>(bench.section());
            QVERIFY2(page, qPrintable(section.key()));
            QCOMPARE(page->findChildren<TweakCard*>().size(), section.value());
        }
    }

    void tierChangesInQuickSuccession()
    {
        for (const QList<Tier>& tiers :
             {QList{Tier::Free}, {Tier::Free, Tier::Pro}, {Tier::Free, Tier::Pro, Tier::None}}) {
            MainBench bench;
            const auto snapshots = [&] { return bench.window.findChildren<QLabel*>(u"GateSnapshot"_s).size(); };
            bench.window.navigateTo(u"Gaming Mode"_s);
            const QWidget* const page = bench.gatedPage();
            const QWidget* const panel = bench.lockedPanel();
            for (const Tier tier : tiers) {
                bench.setTier(tier);
                QCOMPARE(snapshots(), 1);
            }
            QTRY_COMPARE(snapshots(), 0);
            QTRY_VERIFY(!panel->graphicsEffect());
            const bool open = tiers.constLast() == Tier::Pro;
            QCOMPARE(page->isEnabled(), open);
            QCOMPARE(qobject_cast<QGraphicsBlurEffect*>(page->graphicsEffect()) == nullptr, open);
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
