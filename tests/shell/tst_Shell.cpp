#include "account/LicenseService.h"
#include "core/Translate.h"
#include "shell/ShellController.h"
#include "shell/StartGates.h"
#include "shell/UrlProtocol.h"
#include "support/simulated/Suite.h"
#include "tweaks/StateSql.h"
#include "ui/WindowBench.h"
#include "ui/main/MainWindow.h"
#include "ui/pages/AccountPage.h"
#include "ui/theme/Theme.h"
#include "ui/windows/ChromeWindow.h"
#include "ui/windows/LoginWindow.h"

#include <QLineEdit>
#include <QPointer>

namespace {

QWidgetList visibleFrames()
{
    QWidgetList frames = QApplication::topLevelWidgets();
    frames.removeIf([](QWidget* widget) { return !widget->isVisible() || !qobject_cast<ChromeWindow*>(widget); });
    return frames;
}

/// A controller with its windows, over the entries a (registry), slow (command) and pro (registry, of that tier).
struct ShellBench : WindowBench {
    ShellBench()
        : WindowBench({registryEntry("a"), commandEntry("slow"), registryEntry("pro", R"(, "requiredTier": "pro")")})
    {
        shell.emplace(context);
        shell->start();
    }

    void click(const QString& id) const
    {
        shell->mainWindow()->navigateTo(u"Explorer"_s);
        named<ToggleSwitch>(*shell->mainWindow(), id)->click();
    }

    void signOut() const
    {
        shell->mainWindow()->showSettingsPage();
        shell->mainWindow()->findChild<AccountPage*>()->findChild<QPushButton*>()->click();
    }

    /// Elsewhere. @return the texts of the dialog that says so
    QStringList endSession() const
    {
        QStringList texts;
        answerNextDialog(true, &texts);
        Q_EMIT context.license->sessionEnded();
        return texts;
    }

    void signIn(const QString& name)
    {
        shell->loginWindow()->findChild<QLineEdit*>()->setText(name);
        shell->loginWindow()->findChild<QPushButton*>()->click();
    }

    std::optional<ShellController> shell;
};

} // namespace

class tst_Shell : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyTheme(*qApp); }

    void signOutAndInAgain()
    {
        ShellBench bench;
        const MachineImage machine = TestMachine::image();
        bench.click(u"a"_s);
        QTRY_COMPARE(bench.applied(), u"a"_s);
        const QPointer<MainWindow> first = bench.shell->mainWindow();
        bench.signOut();

        QVERIFY(bench.shell->loginWindow() && !bench.shell->mainWindow());
        QCOMPARE(bench.applied(), QString());
        QCOMPARE(differences(machine, TestMachine::image()), QStringList());
        QCOMPARE(stateSql(u"SELECT tweak_id FROM tweak_selection ORDER BY 1"_s), QStringList(u"a"_s));
        QVERIFY(!bench.context.auth->restoreSession());
        QTRY_VERIFY(!first);
        QCOMPARE(visibleFrames().size(), 1);

        bench.signIn(u"Grace"_s);
        QVERIFY(bench.shell->mainWindow() && !bench.shell->loginWindow());
        QCOMPARE(bench.context.auth->userName(), u"Grace"_s);
        QTRY_COMPARE(visibleFrames().size(), 1);

        // The session ends elsewhere, and once more when the user is signed out already.
        bench.click(u"a"_s);
        QTRY_COMPARE(bench.applied(), u"a"_s);
        for (int round = 0; round < 2; ++round) {
            bench.endSession();
            QCOMPARE(differences(machine, TestMachine::image()), QStringList());
            QTRY_COMPARE(visibleFrames().size(), 1);
            QVERIFY(visibleFrames().constFirst()->isAncestorOf(bench.shell->loginWindow()));
        }
    }

    /// One entry is at work and others wait when the reverts begin: nothing may be applied after them.
    void pagesFinishBeforeAnyRevert()
    {
        const auto signOut = [](ShellBench& bench) { bench.signOut(); };
        const auto endSession = [](ShellBench& bench) { bench.endSession(); };
        const auto lowerTier = [](ShellBench& bench) { bench.setTier(Tier::Free); };
        const std::tuple<std::function<void(ShellBench&)>, QString> ends[] = {
            {signOut, QString()}, {endSession, QString()}, {lowerTier, u"slow"_s}};
        for (const auto& [end, applied] : ends) {
            ShellBench bench;
            const MachineImage machine = TestMachine::image();
            SimulatedPc::hang(u"tools"_s, 500, {.part = u"rem apply slow"_s});
            const QPointer<MainWindow> window = bench.shell->mainWindow();
            for (const QString& id : {u"slow"_s, u"pro"_s, u"a"_s})
                bench.click(id);
            QTRY_VERIFY(!SimulatedPc::calls(u"tools"_s).isEmpty());
            end(bench);
            QCOMPARE(bench.applied(), applied);
            QTRY_VERIFY(!window || !isWorking(*window));
            QCOMPARE(bench.applied(), applied);
            QCOMPARE(differences(machine, TestMachine::image()), QStringList());
            // The one that never began isn't shown as if it had.
            QVERIFY(!window || !named<ToggleSwitch>(*window, u"a"_s)->isOn());
        }
    }

    /// As in main when the last window is closed: the controller goes, then the context.
    void closedInTheMiddleOfATweak()
    {
        ShellBench bench;
        const MachineImage before = TestMachine::image();
        SimulatedPc::hang(u"tools"_s, 1000, {.part = u"rem apply slow"_s});
        bench.click(u"slow"_s);
        bench.click(u"a"_s);
        QTRY_VERIFY(!SimulatedPc::calls(u"tools"_s).isEmpty());
        bench.shell->mainWindow()->window()->close();
        bench.shell.reset();
        QVERIFY(visibleFrames().isEmpty());
        // The command wasn't torn apart, and what hadn't begun never ran.
        QCOMPARE(SimulatedPc::calls(u"tools"_s).size(), 1);
        QCOMPARE(SimulatedPc::calls(u"tools"_s).constFirst().answer, 0);
        QCOMPARE(stateSql(u"SELECT tweak_id, state FROM tweak_state"_s), QStringList(u"slow applied"_s));
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    void speaksTheSystemsLanguage()
    {
        ShellBench bench;
        bench.shell->mainWindow()->navigateTo(u"Taskbar"_s);
        QStringList texts;
        for (const QLabel* const label : bench.shell->mainWindow()->findChildren<QLabel*>())
            texts.append(label->text());
        for (const QPushButton* const button : bench.shell->mainWindow()->findChildren<QPushButton*>())
            texts << button->accessibleName() << button->text().trimmed();
        texts += bench.endSession();
        // Of the navigation's table, of the message catalogue, and of the dialog at the session's end.
        for (const QString& french : {u"Barre des tâches"_s, u"AVANCÉ"_s, u"Paramètres"_s, u"Session remplacée"_s})
            QVERIFY2(texts.contains(french), qPrintable(french));
    }

    void connectivityGate()
    {
        const ScratchMachine machine;
        const QString backend = u"https://backend.example"_s;
        SimulatedPc::setValue(u"network/online"_s, false);
        QVERIFY(passConnectivityGate(backend, false)); // a build without a backend
        QStringList texts;
        answerNextDialog(true, &texts);
        QVERIFY(!passConnectivityGate(backend, true));
        QCOMPARE(texts.first(), u"Connexion requise"_s);
    }

    void urlProtocol()
    {
        const ScratchMachine machine;
        const QString key = u"Software\\Classes\\torvelane"_s;
        putRaw({}, {.type = 4, .data = dwordBytes(7)}, key); // by an older version, or somebody else
        registerUrlProtocol();
        QCOMPARE(rawValue({}, key)->type, 1U);
        const QString command = u"\"%1\" \"%2\""_s.arg(QCoreApplication::applicationFilePath(), u"%1"_s);
        QCOMPARE(rawValue({}, key + u"\\shell\\open\\command"_s), (RawValue{.type = 1, .data = utf16(command)}));
    }
};

/// All in French, since the language is worked out once in a process.
int main(int argc, char** argv)
{
    qputenv("LANGUAGE", {});
    qputenv("LC_ALL", "fr_FR.UTF-8");
    QApplication application(argc, argv);
    installTranslator();
    tst_Shell suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "tst_Shell.moc"
