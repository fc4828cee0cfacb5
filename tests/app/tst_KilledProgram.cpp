#include "platform/simulated/SimulatedPc.h"
#include "support/TestMachine.h"

#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane::test;
using torvelane::platform::ChangeMoment;
using torvelane::platform::SimulatedPc;

/// The finished program, killed by the machine before or after each of its changes and started again.
class tst_KilledProgram : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nextStartPutsEverythingBack()
    {
        for (const auto& [id, moment] : {std::pair(u"selftest.toggle"_s, ChangeMoment::Before),
                                         {u"selftest.toggle"_s, ChangeMoment::After},
                                         {u"torv.periph.kervo-mouse-fix"_s, ChangeMoment::Before},
                                         {u"torv.periph.kervo-mouse-fix"_s, ChangeMoment::After}}) {
            int kills = 0;
            for (bool killed = true; killed;) {
                const TestMachine machine;
                const MachineImage before = TestMachine::image();
                QProcess program;
                program.setEnvironment(QProcess::systemEnvironment() + machine.childEnvironment());
                SimulatedPc::killAtChange(kills + 1, moment);
                program.start(QStringLiteral(TORVELANE_PROGRAM), {u"apply"_s, id});
                QVERIFY(program.waitForFinished());
                killed = program.exitStatus() == QProcess::CrashExit;
                kills += killed;
                SimulatedPc::clearFaults();
                program.start(QStringLiteral(TORVELANE_PROGRAM), {u"status"_s});
                QVERIFY(program.waitForFinished());
                const QString status = QString::fromUtf8(program.readAllStandardOutput());
                QCOMPARE(status.section(u"Applied tweaks: "_s, 1).trimmed(), killed ? QString() : id);
                QCOMPARE(differences(before, TestMachine::image()).isEmpty(), killed);
            }
            QCOMPARE_GE(kills, 3);
        }
    }
};

QTEST_GUILESS_MAIN(tst_KilledProgram)
#include "tst_KilledProgram.moc"
