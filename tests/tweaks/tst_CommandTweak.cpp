#include "platform/Registry.h"
#include "support/ScratchMachine.h"
#include "tweaks/CommandTweak.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

/// A command that leaves a value in the scratch key.
QString store(const QString& name, const QString& text = u"x"_s)
{
    return u"reg add \"HKCU\\%1\" /v \"%2\" /t REG_SZ /d \"%3\" /f"_s.arg(scratchKey, name, text);
}

/// The names of the values that were left.
QString stored()
{
    return QStringList(scratchImage().keys()).join(u' ');
}

} // namespace

class tst_CommandTweak : public QObject {
    Q_OBJECT

private:
    std::optional<ScratchMachine> m_machine;

private Q_SLOTS:
    void init() { m_machine.emplace(); }
    void cleanup() { m_machine.reset(); }

    /// In order, up to the first that can't be run, each with the user in place of the placeholder.
    void lists()
    {
        setBootContext(false, u"S-1"_s);
        QStringList run;
        const auto runner = [&run](const QString& command, QString* error) {
            run.append(command);
            *error = u"failed "_s + command;
            return command != u"bad";
        };
        QVERIFY(runCommandList({u"b"_s, u"a %TORV_SID%\\%TORV_SID% %torv_sid%"_s, u"b"_s}, runner).ok);
        const TweakResult result = runCommandList({u"c"_s, u"bad"_s, u"never"_s}, runner);
        QVERIFY(!result.ok);
        QCOMPARE(result.message, u"failed bad"_s);
        setBootContext(false, {});
        QCOMPARE(run, QStringList({u"b"_s, u"a S-1\\S-1 %torv_sid%"_s, u"b"_s, u"c"_s, u"bad"_s}));
    }

    /// What a shell makes of a command is the shell's own: quotes, operators, variables.
    void shell()
    {
        qputenv("TORVELANE_TEST", "from outside");
        QVERIFY(runShellCommand(store(u"With a blank"_s, u"a & b"_s) + u" & "_s + store(u"B"_s, u"%TORVELANE_TEST%"_s),
                                nullptr));
        QCOMPARE(rawValue(u"With a blank"_s), (RawValue{platform::regSz, utf16(u"a & b"_s)}));
        QCOMPARE(rawValue(u"B"_s), (RawValue{platform::regSz, utf16(u"from outside"_s)}));
    }

    void failingExitCodesStopNothing()
    {
        CommandTweak tweak(u"a"_s, {u"exit 1"_s, store(u"A"_s), u"exit 2"_s, store(u"B"_s)}, {}, {}, {});
        QVERIFY(tweak.apply().ok);
        QCOMPARE(stored(), u"A B"_s);
        QCOMPARE(
            m_machine->log.lines(),
            QStringList({u"[WARN] cmdtweak: 'exit 1' exited with 1"_s, u"[WARN] cmdtweak: 'exit 2' exited with 2"_s}));
    }

    /// The shell is gone as well: its second command would leave a value.
    void hangingCommandEndsTheList()
    {
        if (!fullRun())
            QSKIP("Takes the two minutes of a command's limit; part of the full run");
        const QString hanging = u"ping -n 130 127.0.0.1 & "_s + store(u"A"_s);
        CommandTweak tweak(u"a"_s, {hanging, store(u"B"_s)}, {}, {}, {});
        const TweakResult result = tweak.apply();
        QVERIFY(!result.ok);
        QCOMPARE(result.message, u"Command timed out: "_s + hanging);
        QTest::qWait(15000);
        QCOMPARE(stored(), QString());
    }
};

QTEST_GUILESS_MAIN(tst_CommandTweak)
#include "tst_CommandTweak.moc"
