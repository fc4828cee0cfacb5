#include "account/LicenseService.h"
#include "platform/simulated/SimulatedPc.h"
#include "shell/ShellController.h"
#include "shell/UrlProtocol.h"
#include "tweaks/StateSql.h"
#include "ui/ChromeWindow.h"
#include "ui/Dialogs.h"
#include "ui/LoginWindow.h"
#include "ui/MainWindow.h"
#include "ui/Theme.h"
#include "ui/WindowBench.h"
#include "ui/pages/AccountPage.h"
#include "ui/pages/SectionTweaksPage.h"

#include <QLineEdit>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QTest>
#include <QTextStream>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::SimulatedPc;

namespace {

const QString childOption = u"--end-session"_s;
const QByteArrayList entries{registryEntry("a"), commandEntry("slow")};

QList<ChromeWindow*> visibleFrames()
{
    QList<ChromeWindow*> frames;
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const frame = qobject_cast<ChromeWindow*>(widget);
        if (frame && frame->isVisible())
            frames.append(frame);
    }
    return frames;
}

/// Notices the moment at which a frame goes with no other one on the screen.
class VisibilityWatch : public QObject {
public:
    VisibilityWatch() { qApp->installEventFilter(this); }
    bool wasEverBare = false;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Hide && qobject_cast<ChromeWindow*>(watched) && visibleFrames().isEmpty())
            wasEverBare = true;
        return false;
    }
};

/// A controller with its windows, over the entries a (registry) and slow (command).
struct ShellBench : WindowBench {
    ShellBench() : WindowBench(entries) { }

    void start()
    {
        shell.emplace(context);
        shell->start();
    }

    /// Through its switch.
    void apply(const QString& id)
    {
        shell->mainWindow()->navigateTo(entrySection);
        named<ToggleSwitch>(*shell->mainWindow(), id)->click();
    }

    void signIn(const QString& name)
    {
        shell->loginWindow()->findChild<QLineEdit*>()->setText(name);
        shell->loginWindow()->findChild<QPushButton*>()->click();
    }

    static QStringList selection() { return stateSql(u"SELECT tweak_id FROM tweak_selection ORDER BY 1"_s); }

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
        bench.start();
        bench.apply(u"a"_s);
        QTRY_COMPARE(bench.applied(), u"a"_s);
        // Still at it, and the next one still waiting, when the user signs out.
        SimulatedPc::hangTool(u"rem apply slow"_s, 1000);
        bench.apply(u"slow"_s);
        bench.apply(u"a"_s);
        QTRY_VERIFY(!SimulatedPc::journal().isEmpty());
        const QPointer<MainWindow> first = bench.shell->mainWindow();
        const VisibilityWatch watch;
        first->findChild<AccountPage*>()->findChild<QPushButton*>()->click();

        QVERIFY(!watch.wasEverBare);
        QVERIFY(bench.shell->loginWindow());
        QVERIFY(!bench.shell->mainWindow());
        QCOMPARE(bench.applied(), QString());
        QCOMPARE(differences(machine, TestMachine::image()), QStringList());
        QCOMPARE(ShellBench::selection(), QStringList({u"a"_s, u"slow"_s}));
        QVERIFY(!bench.context.auth->restoreSession());
        QTRY_VERIFY(!first);
        QCOMPARE(visibleFrames().size(), 1);

        bench.signIn(u"Grace"_s);
        QVERIFY(!watch.wasEverBare);
        QVERIFY(!bench.shell->loginWindow());
        const MainWindow& second = *bench.shell->mainWindow();
        QCOMPARE(second.currentGroup(), 0);
        const auto labels = second.findChildren<QLabel*>();
        QVERIFY(std::ranges::any_of(labels, [](const QLabel* label) { return label->text() == u"Grace"; }));
        QTRY_COMPARE(visibleFrames().size(), 1);
        QVERIFY(bench.machine.log.contains(u"[INFO] shell: User signed out; reverting optimizations"_s));
    }

    void badNameIsRefused()
    {
        ShellBench bench;
        bench.context.auth->logout();
        bench.start();
        const LoginWindow* const login = bench.shell->loginWindow();
        auto* const banner = login->findChild<QFrame*>(u"ErrorBanner"_s);
        for (const QString& name : {QString(), u"   "_s, QString(257, u'x'), u"a\u0007b"_s}) {
            banner->hide();
            bench.signIn(name);
            QVERIFY(banner->isVisible());
            QCOMPARE(bench.shell->loginWindow(), login);
        }
        auto* const field = login->findChild<QLineEdit*>();
        field->setText(u" Ada "_s);
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY(bench.shell->mainWindow());
        QCOMPARE(bench.context.auth->userName(), u"Ada"_s);
    }

    void sessionEndsElsewhere()
    {
        ShellBench bench;
        const MachineImage machine = TestMachine::image();
        bench.start();
        bench.apply(u"a"_s);
        QTRY_COMPARE(bench.applied(), u"a"_s);
        const VisibilityWatch watch;
        ChromeWindow* frame = nullptr;
        // The second time the user is signed out already.
        for (int round = 0; round < 2; ++round) {
            QStringList texts;
            answerNextDialog(true, &texts);
            Q_EMIT bench.context.license->sessionEnded();
            QCOMPARE(texts.value(0), u"Session replaced"_s);
            QCOMPARE(differences(machine, TestMachine::image()), QStringList());
            QCOMPARE(ShellBench::selection(), QStringList(u"a"_s));
            QTRY_COMPARE(visibleFrames().size(), 1);
            QVERIFY(!frame || visibleFrames().constFirst() == frame);
            frame = visibleFrames().constFirst();
            QVERIFY(frame->isAncestorOf(bench.shell->loginWindow()));
        }
        QVERIFY(!watch.wasEverBare);
    }

    /// In the system's language, whatever the program's own is. In processes of their own, one a language.
    void sessionEndsInTheSystemsLanguage()
    {
        for (const auto& [locale, title] :
             {std::pair(u"fr_FR.UTF-8"_s, u"Session remplacée"_s), {u"de_DE.UTF-8"_s, u"Session replaced"_s}}) {
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.remove(u"LANGUAGE"_s);
            environment.insert(u"LC_ALL"_s, locale);
            QProcess child;
            child.setProcessEnvironment(environment);
            child.start(QCoreApplication::applicationFilePath(), {childOption});
            QVERIFY(child.waitForFinished());
            QCOMPARE(QString::fromUtf8(child.readAllStandardOutput()), title);
        }
    }

    /// What main does when the last window is closed: the controller goes, then the context.
    void closedInTheMiddleOfATweak()
    {
        const ScratchMachine machine;
        const MachineImage before = TestMachine::image();
        std::optional<AppContext> context(std::in_place);
        QVERIFY(WindowBench::bringUp(*context, entries));
        SimulatedPc::hangTool(u"rem apply slow"_s, 1000);
        {
            ShellController shell(*context);
            shell.start();
            shell.mainWindow()->navigateTo(entrySection);
            for (const QString& id : {u"slow"_s, u"a"_s})
                named<ToggleSwitch>(*shell.mainWindow(), id)->click();
            QTRY_VERIFY(!SimulatedPc::journal().isEmpty());
            shell.mainWindow()->window()->close();
        }
        context.reset();
        QVERIFY(visibleFrames().isEmpty());
        // The command wasn't torn apart, and what hadn't begun never ran.
        QCOMPARE(SimulatedPc::journal().size(), 1);
        QCOMPARE(SimulatedPc::journal().constFirst().exitCode, 0);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());

        context.emplace();
        QVERIFY(WindowBench::bringUp(*context, entries));
        QCOMPARE(context->store.listInterrupted().size(), 0);
        QCOMPARE(context->engine->appliedIds(), QStringList(u"slow"_s));
        context->engine->revertAll(false);
        QCOMPARE(SimulatedPc::journal().constLast().arguments.value(1), u"rem revert slow"_s);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    void urlProtocol()
    {
        const ScratchMachine machine;
        const QString key = u"Software\\Classes\\torvelane"_s;
        putRaw({}, {.type = 4, .data = dwordBytes(7)}, key); // by an older version, or somebody else
        registerUrlProtocol();
        const auto text = [](const QString& name, const QString& path) {
            const std::optional<RawValue> value = rawValue(name, path);
            return value && value->type == 1 ? QString::fromUtf16(reinterpret_cast<const char16_t*>(value->data.data()))
                                             : u"no text"_s;
        };
        QCOMPARE(text({}, key), u"URL:Torvelane Protocol"_s);
        QCOMPARE(text(u"URL Protocol"_s, key), QString());
        QCOMPARE(text({}, key + u"\\shell\\open\\command"_s),
                 u"\"%1\" \"%2\""_s.arg(QCoreApplication::applicationFilePath(), u"%1"_s));
    }
};

/// Prints the title of the dialog that tells of the session's end.
static int endSession()
{
    QLocale::setDefault(QLocale(QLocale::English));
    ShellBench bench;
    bench.start();
    QStringList texts;
    answerNextDialog(true, &texts);
    Q_EMIT bench.context.license->sessionEnded();
    QTextStream out(stdout);
    out.setEncoding(QStringConverter::Utf8);
    out << texts.value(0);
    return 0;
}

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(childOption))
        return endSession();
    QTEST_SET_MAIN_SOURCE_PATH
    tst_Shell suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "tst_Shell.moc"
