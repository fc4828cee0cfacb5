#include "ui/GroupPage.h"
#include "ui/MainWindow.h"
#include "ui/Theme.h"
#include "ui/Translate.h"
#include "ui/WindowBench.h"
#include "ui/pages/AccountPage.h"
#include "ui/pages/SectionTweaksPage.h"
#include "ui/pages/TweakCard.h"

#include <QAccessible>
#include <QGraphicsBlurEffect>
#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QLayout>
#include <QProcess>
#include <QPushButton>
#include <QStackedWidget>
#include <QSysInfo>
#include <QTest>
#include <QTextStream>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

const QString childOption = u"--print-texts"_s;

/// The program's window over a small catalogue, unless the whole one is asked for.
struct MainBench : WindowBench {
    explicit MainBench(Tier tier = Tier::Pro, const QByteArrayList& entries = {registryEntry("a")})
        : WindowBench(entries, tier)
        , window(context)
    {
        window.show();
        window.activateWindow();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("The window could not be shown");
    }

    /// Rows ("NavItem") or tabs ("SubTab") on the screen.
    QList<QPushButton*> buttons(const QString& kind) const
    {
        QList<QPushButton*> found = window.findChildren<QPushButton*>(kind);
        found.removeIf([](const QPushButton* button) { return !button->isVisible(); });
        return found;
    }

    QPushButton* row(int index) const { return buttons(u"NavItem"_s).at(index); }
    QPushButton* tab(int index) const { return buttons(u"SubTab"_s).at(index); }

    /// What is lit, by assistive technology's word: the row, and the tab with its place.
    QString place() const
    {
        QStringList parts;
        for (const QString& kind : {u"NavItem"_s, u"SubTab"_s}) {
            int index = 0;
            for (QPushButton* const button : buttons(kind)) {
                ++index;
                const QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(button);
                if (face->state().checkable && face->state().checked)
                    parts.append(face->text(QAccessible::Name) + u' ' + QString::number(index));
            }
        }
        return parts.join(u", "_s);
    }

    GroupPage* group() const
    {
        const auto groups = window.findChildren<GroupPage*>();
        const auto found = std::ranges::find_if(groups, &GroupPage::isVisible);
        return found == groups.end() ? nullptr : *found;
    }

    /// What the current tab shows; for a section with a gate its wrapper, with the page and the locked panel in it.
    QWidget* section() const { return group()->findChild<QStackedWidget*>()->currentWidget(); }
    QWidget* gatedPage() const { return section()->layout()->itemAt(0)->widget(); }
    QWidget* lockedPanel() const { return section()->layout()->itemAt(1)->widget(); }

    MainWindow window;
};

} // namespace

class tst_MainWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyTheme(*qApp); }

    void opensByKey_data()
    {
        QTest::addColumn<QString>("place");
        QTest::newRow("Restore Points") << u"System 2, Restore 3"_s;
        QTest::newRow("Background Services") << u"Optimizations 3, Services 5"_s;
        QTest::newRow("Services") << u"Network 7, Services 4"_s;
        QTest::newRow("Network") << u"Network 7, Network 1"_s;
        for (const char* const unknown : {"System", "restore points", "SelfTest", ""})
            QTest::newRow(unknown) << u"Home 1"_s;
    }

    void opensByKey()
    {
        MainBench bench;
        bench.window.navigateTo(QString::fromLatin1(QTest::currentDataTag()));
        QTEST(bench.place(), "place");
    }

    void settingsLightNoRow()
    {
        MainBench bench;
        auto* const gear = named<QPushButton>(bench.window, u"Settings"_s);
        const auto* const account = bench.window.findChild<AccountPage*>();
        bench.row(4)->click();
        // Back to the row that was lit before, and to another one.
        for (const auto& [row, place] : {std::pair(4, u"Privacy 5, Telemetry 1"_s), {0, u"Home 1"_s}}) {
            gear->click();
            QCOMPARE(bench.place(), QString());
            QVERIFY(account->isVisible());
            bench.row(row)->click();
            QCOMPARE(bench.place(), place);
            QVERIFY(!account->isVisible());
        }
        for (const int outside : {-1, 7, 8})
            bench.window.selectGroup(outside);
        QCOMPARE(bench.place(), u"Home 1"_s);
    }

    void onlyAChangeFades()
    {
        MainBench bench;
        bench.row(1)->click();
        QVERIFY(qobject_cast<QGraphicsOpacityEffect*>(bench.group()->graphicsEffect()));
        QTRY_VERIFY(!bench.group()->graphicsEffect());
        bench.row(1)->click();
        QVERIFY(!bench.group()->graphicsEffect());

        bench.tab(1)->click();
        QVERIFY(qobject_cast<QGraphicsOpacityEffect*>(bench.section()->graphicsEffect()));
        QTRY_VERIFY(!bench.section()->graphicsEffect());
        bench.tab(1)->click();
        QVERIFY(!bench.section()->graphicsEffect());
    }

    /// On the program's own catalogue.
    void everySectionHasItsPage()
    {
        MainBench bench(Tier::Pro, {});
        QHash<QString, qsizetype> tweaks;
        for (const TweakDefinition& tweak : bench.context.catalog.definitions())
            ++tweaks[tweak.section];
        QVERIFY(tweaks.remove(u"SelfTest"_s));
        QCOMPARE(bench.window.findChildren<SectionTweaksPage*>().size(), tweaks.size());
        for (auto section = tweaks.cbegin(); section != tweaks.cend(); ++section) {
            bench.window.navigateTo(section.key());
            const auto* const page = qobject_cast<SectionTweaksPage*>(bench.section());
            QVERIFY2(page, qPrintable(section.key()));
            QCOMPARE(page->findChildren<TweakCard*>().size(), section.value());
        }
    }

    void tierChangesInQuickSuccession_data()
    {
        QTest::addColumn<QList<Tier>>("tiers");
        QTest::addColumn<bool>("open");
        QTest::newRow("locked") << QList<Tier>{Tier::Free} << false;
        QTest::newRow("and opened") << QList<Tier>{Tier::Free, Tier::Premium} << true;
        QTest::newRow("and locked") << QList<Tier>{Tier::Free, Tier::Pro, Tier::None} << false;
    }

    void tierChangesInQuickSuccession()
    {
        QFETCH(const QList<Tier>, tiers);
        QFETCH(const bool, open);
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
        QCOMPARE(page->isEnabled(), open);
        QCOMPARE(qobject_cast<QGraphicsBlurEffect*>(page->graphicsEffect()) == nullptr, open);
        QCOMPARE(panel->isVisible(), !open);
        // Where the pill is: nothing of the transition may lie over it, or over the page.
        const QWidget* const hit = bench.section()->childAt(panel->geometry().center());
        QCOMPARE(panel->isAncestorOf(hit), !open);
    }

    void lockedRowsSayWhy()
    {
        MainBench bench(Tier::Free);
        QPushButton* const network = bench.row(6);
        QCOMPARE(network->toolTip(), u"Requires PRO"_s);
        QCOMPARE(bench.row(0)->toolTip(), QString());
        network->click();
        QCOMPARE(bench.place(), u"Network 7, Network 1"_s);
        QVERIFY(!bench.gatedPage()->isEnabled());
        bench.setTier(Tier::Pro);
        QCOMPARE(network->toolTip(), QString());
        QVERIFY(bench.gatedPage()->isEnabled());
    }

    void pillStaysInItsCorner()
    {
        MainBench bench(Tier::Premium);
        auto* const pill = bench.window.findChild<QPushButton*>(u"TierPill"_s, Qt::FindDirectChildrenOnly);
        for (const QSize& size : {QSize(1080, 700), QSize(880, 580), QSize(1600, 900)}) {
            bench.window.resize(size);
            QTRY_COMPARE(bench.window.size(), size);
            QVERIFY(pill->width() >= 150 && pill->width() >= pill->sizeHint().width());
            QCOMPARE(pill->geometry().topLeft(), QPoint(size.width() - 20 - pill->width(), 44));
        }
        bench.setTier(Tier::Pro);
        QVERIFY(!pill->isVisible());
        bench.setTier(Tier::Free);
        QCOMPARE(bench.window.childAt(pill->geometry().center()), pill);
    }

    /// In a process of its own, since the language is worked out once in a process.
    void speaksFrench()
    {
        if (QSysInfo::productType() == u"windows"_s)
            QSKIP("Windows takes its language from the user's settings, not from the environment");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"LANGUAGE"_s);
        environment.insert(u"LC_ALL"_s, u"fr_FR.UTF-8"_s);
        QProcess child;
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), {childOption});
        QVERIFY(child.waitForFinished());
        const QStringList texts = QString::fromUtf8(child.readAllStandardOutput()).split(u'\n');
        // Of the navigation's table, and of the message catalogue.
        for (const QString& french : {u"Accueil"_s, u"Barre des tâches"_s, u"AVANCÉ"_s, u"Paramètres"_s})
            QVERIFY2(texts.contains(french), qPrintable(french));
        for (const QString& english : {u"Home"_s, u"Taskbar"_s, u"ADVANCED"_s, u"Settings"_s, u"Sign out"_s})
            QVERIFY2(!texts.contains(english), qPrintable(english));
    }
};

/// What the window says, one text a line.
static int printTexts()
{
    installTranslator();
    const MainBench bench;
    QTextStream out(stdout);
    out.setEncoding(QStringConverter::Utf8);
    for (const QLabel* const label : bench.window.findChildren<QLabel*>())
        out << label->text() << '\n';
    for (const QPushButton* const button : bench.window.findChildren<QPushButton*>())
        out << button->accessibleName() << '\n' << button->text().trimmed() << '\n';
    return 0;
}

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(childOption))
        return printTexts();
    QTEST_SET_MAIN_SOURCE_PATH
    tst_MainWindow suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "tst_MainWindow.moc"
