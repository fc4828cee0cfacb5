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
#include <QTest>
#include <QTextStream>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

const QString childOption = u"--print-navigation"_s;

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

    QList<QPushButton*> rows() const { return window.findChildren<QPushButton*>(u"NavItem"_s); }

    /// Name of the lit row; empty if none is.
    QString litRow() const
    {
        QStringList names;
        for (const QPushButton* const row : rows()) {
            if (row->isChecked())
                names.append(row->accessibleName());
        }
        return names.join(u' ');
    }

    GroupPage* group() const
    {
        const auto groups = window.findChildren<GroupPage*>();
        const auto found = std::ranges::find_if(groups, &GroupPage::isVisible);
        return found == groups.end() ? nullptr : *found;
    }

    QList<QPushButton*> visibleTabs() const
    {
        QList<QPushButton*> tabs = window.findChildren<QPushButton*>(u"SubTab"_s);
        tabs.removeIf([](const QPushButton* tab) { return !tab->isVisible(); });
        return tabs;
    }

    /// The lit row, the place of the lit tab, and its name.
    QString place() const
    {
        QStringList parts{litRow()};
        const QList<QPushButton*> tabs = visibleTabs();
        for (qsizetype i = 0; i < tabs.size(); ++i) {
            if (tabs.at(i)->isChecked())
                parts << QString::number(i + 1) << tabs.at(i)->accessibleName();
        }
        return parts.join(u'/');
    }

    /// The section that the current tab shows; for one with a gate its wrapper.
    QWidget* section() const { return group()->findChild<QStackedWidget*>()->currentWidget(); }

    qsizetype snapshots() const { return window.findChildren<QLabel*>(u"GateSnapshot"_s).size(); }

    MainWindow window;
};

} // namespace

class tst_MainWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyTheme(*qApp); }

    void opensByKey_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("place");
        QTest::newRow("third tab") << u"Restore Points"_s << u"System/3/Restore"_s;
        QTest::newRow("services of the catalogue") << u"Background Services"_s << u"Optimizations/5/Services"_s;
        QTest::newRow("services of a profile") << u"Services"_s << u"Network/4/Services"_s;
        QTest::newRow("named as its row") << u"Network"_s << u"Network/1/Network"_s;
        QTest::newRow("a row's title is no key") << u"System"_s << u"Home"_s;
        QTest::newRow("another case") << u"restore points"_s << u"Home"_s;
        QTest::newRow("internal section") << u"SelfTest"_s << u"Home"_s;
        QTest::newRow("nothing") << QString() << u"Home"_s;
    }

    void opensByKey()
    {
        QFETCH(const QString, key);
        MainBench bench;
        bench.window.navigateTo(key);
        QTEST(bench.place(), "place");
    }

    void settingsLightNoRow()
    {
        MainBench bench;
        QVERIFY(bench.visibleTabs().isEmpty());
        bench.window.selectGroup(1);
        QCOMPARE(bench.visibleTabs().size(), 3);
        auto* const gear = named<QPushButton>(bench.window, u"Settings"_s);
        auto* const account = bench.window.findChild<AccountPage*>();
        for (const int row : {1, 4}) {
            gear->click();
            QCOMPARE(bench.litRow(), QString());
            QVERIFY(account->isVisible());
            // The one that was lit before must be as good as another.
            bench.rows().at(row)->click();
            QCOMPARE(bench.litRow(), bench.rows().at(row)->accessibleName());
            QVERIFY(!account->isVisible());
        }
        for (const int outside : {-1, 7, 8})
            bench.window.selectGroup(outside);
        QCOMPARE(bench.litRow(), u"Privacy"_s);
    }

    void onlyAChangeFades()
    {
        MainBench bench;
        bench.rows().at(1)->click();
        QVERIFY(qobject_cast<QGraphicsOpacityEffect*>(bench.group()->graphicsEffect()));
        QTRY_VERIFY(!bench.group()->graphicsEffect());
        bench.rows().at(1)->click();
        QVERIFY(!bench.group()->graphicsEffect());

        bench.visibleTabs().at(1)->click();
        QVERIFY(qobject_cast<QGraphicsOpacityEffect*>(bench.section()->graphicsEffect()));
        QTRY_VERIFY(!bench.section()->graphicsEffect());
        bench.visibleTabs().at(1)->click();
        QVERIFY(!bench.section()->graphicsEffect());
    }

    /// On the program's own catalogue: what a section's name leads to, and that no page is left without cards.
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
            auto* const page = qobject_cast<SectionTweaksPage*>(bench.section());
            QVERIFY2(page, qPrintable(section.key()));
            QCOMPARE(page->findChildren<TweakCard*>().size(), section.value());
        }
    }

    void tierChangesInQuickSuccession_data()
    {
        QTest::addColumn<QList<Tier>>("tiers");
        QTest::addColumn<bool>("open");
        QTest::newRow("locked") << QList<Tier>{Tier::Free} << false;
        QTest::newRow("locked and opened") << QList<Tier>{Tier::Free, Tier::Premium} << true;
        QTest::newRow("back and forth") << QList<Tier>{Tier::Free, Tier::Pro, Tier::None} << false;
        QTest::newRow("back, forth and back") << QList<Tier>{Tier::Free, Tier::Pro, Tier::None, Tier::Pro} << true;
    }

    void tierChangesInQuickSuccession()
    {
        QFETCH(const QList<Tier>, tiers);
        QFETCH(const bool, open);
        MainBench bench;
        bench.window.navigateTo(u"Gaming Mode"_s);
        const QLayout* const wrapper = bench.section()->layout();
        const QWidget* const page = wrapper->itemAt(0)->widget();
        const QWidget* const panel = wrapper->itemAt(1)->widget();
        for (const Tier tier : tiers) {
            bench.setTier(tier);
            QCOMPARE(bench.snapshots(), 1);
        }
        QTRY_COMPARE(bench.snapshots(), 0);
        QTRY_VERIFY(!panel->graphicsEffect());
        QCOMPARE(page->isEnabled(), open);
        QCOMPARE(qobject_cast<QGraphicsBlurEffect*>(page->graphicsEffect()) == nullptr, open);
        QCOMPARE(panel->isVisible(), !open);
        const QPoint middle = panel->geometry().center();
        const QWidget* const hit = bench.section()->childAt(middle);
        QCOMPARE(panel->isAncestorOf(hit) || hit == panel, !open);
    }

    void lockedRowsSayWhy()
    {
        MainBench bench(Tier::Free);
        const QPushButton* const network = bench.rows().constLast();
        QCOMPARE(network->toolTip(), u"Requires PRO"_s);
        QCOMPARE(bench.rows().constFirst()->toolTip(), QString());
        bench.rows().constLast()->click();
        QCOMPARE(bench.litRow(), u"Network"_s);
        QVERIFY(!bench.section()->layout()->itemAt(0)->widget()->isEnabled());
        bench.setTier(Tier::Pro);
        QCOMPARE(network->toolTip(), QString());
        QVERIFY(bench.section()->layout()->itemAt(0)->widget()->isEnabled());
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
            QCOMPARE(bench.window.childAt(pill->geometry().center()), pill);
        }
        bench.setTier(Tier::Pro);
        QVERIFY(!pill->isVisible());
        bench.setTier(Tier::Free);
        QVERIFY(pill->isVisible());
        QCOMPARE(bench.window.childAt(pill->geometry().center()), pill);
    }

    void assistiveTechnology()
    {
        MainBench bench;
        bench.window.navigateTo(u"Explorer"_s);
        for (const QPushButton* const button : bench.rows() + bench.visibleTabs()) {
            const QAccessibleInterface* const face =
                QAccessible::queryAccessibleInterface(const_cast<QPushButton*>(button));
            const QString name = face->text(QAccessible::Name);
            QVERIFY2(!name.isEmpty() && name == name.trimmed(), qPrintable(name));
            QVERIFY(face->state().checkable);
            QCOMPARE(face->state().checked, name == u"Personalization" || name == u"Explorer");
        }
    }

    /// In a process of its own, since the language is worked out once in a process.
    void speaksFrench()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"LANGUAGE"_s);
        environment.insert(u"LC_ALL"_s, u"fr_FR.UTF-8"_s);
        QProcess child;
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), {childOption});
        QVERIFY(child.waitForFinished());
        QCOMPARE(child.exitCode(), 0);
        const QStringList texts = QString::fromUtf8(child.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
        for (const QString& text : {u"Accueil"_s, u"Réseau"_s, u"Barre des tâches"_s, u"MAJ"_s, u"AVANCÉ"_s,
                                    u"Posture gaming, FPS, latence, services et mises à jour."_s, u"Paramètres"_s}) {
            QVERIFY2(texts.contains(text), qPrintable(text));
        }
        for (const QString& text : {u"Home"_s, u"Taskbar"_s, u"GENERAL"_s, u"Settings"_s, u"Account"_s, u"Sign out"_s})
            QVERIFY2(!texts.contains(text), qPrintable(text));
    }
};

/// What the window says, one text a line.
static int printTexts()
{
    installTranslator();
    const MainBench bench(Tier::Pro, {});
    QTextStream out(stdout);
    out.setEncoding(QStringConverter::Utf8);
    for (const QLabel* const label : bench.window.findChildren<QLabel*>())
        out << label->text() << '\n';
    for (const QAbstractButton* const button : bench.window.findChildren<QAbstractButton*>())
        out << button->accessibleName() << '\n' << button->text().trimmed() << '\n' << button->toolTip() << '\n';
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
