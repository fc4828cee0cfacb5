#include "platform/simulated/SimulatedPc.h"
#include "support/ScratchMachine.h"
#include "tweaks/CommandTweak.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::SimulatedPc;

class tst_CommandTweakTools : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// Each command is one shell with the command as one argument, in the order of the list, whatever became of the
    /// ones before it.
    void shellsInOrder()
    {
        const ScratchMachine machine;
        const QStringList commands{u"echo \"a b\" & echo c"_s, u"rem fails"_s, u"rem d"_s};
        SimulatedPc::failTool(u"rem fails"_s, 5);
        CommandTweak tweak(u"a"_s, commands, {}, {}, {});
        QVERIFY(tweak.apply().ok);
        QStringList run;
        for (const platform::ToolCall& call : SimulatedPc::journal()) {
            if (call.tool != u"cmd.exe")
                continue;
            QCOMPARE(call.arguments.value(0), u"/c"_s);
            run.append(call.arguments.sliced(1));
        }
        QCOMPARE(run, commands);
        QCOMPARE(machine.log.lines(), QStringList(u"[WARN] cmdtweak: 'rem fails' exited with 5"_s));
    }

    void hangingCommandEndsTheList()
    {
        if (!fullRun())
            QSKIP("Takes the two minutes of a command's limit; part of the full run");
        const ScratchMachine machine;
        SimulatedPc::hangTool(u"rem hangs"_s, 10 * shellFinishTimeoutMs);
        CommandTweak tweak(u"a"_s, {u"rem hangs"_s, u"rem never"_s}, {}, {}, {});
        QElapsedTimer timer;
        timer.start();
        const TweakResult result = tweak.apply();
        QVERIFY(!result.ok);
        QCOMPARE(result.message, u"Command timed out: rem hangs"_s);
        QVERIFY(timer.elapsed() >= shellFinishTimeoutMs && timer.elapsed() < 2 * shellFinishTimeoutMs);
        const QList<platform::ToolCall> calls = SimulatedPc::journal();
        QCOMPARE(calls.size(), 1);
        QVERIFY(!calls.constFirst().exitCode);
    }
};

QTEST_GUILESS_MAIN(tst_CommandTweakTools)
#include "tst_CommandTweakTools.moc"
