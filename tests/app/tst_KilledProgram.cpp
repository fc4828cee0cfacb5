#include "platform/simulated/SimulatedPc.h"
#include "support/TestMachine.h"

#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane::test;
using torvelane::platform::ChangeMoment;
using torvelane::platform::SimulatedPc;

namespace {

constexpr int programTimeoutMs = 60000;

} // namespace

/// The finished program, killed by the machine in the middle of its changes and started again.
class tst_KilledProgram : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nextStartPutsEverythingBack_data();
    void nextStartPutsEverythingBack();
};

void tst_KilledProgram::nextStartPutsEverythingBack_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<ChangeMoment>("moment");
    for (const QString& id : {u"selftest.toggle"_s, u"torv.periph.kervo-mouse-fix"_s}) {
        QTest::addRow("%s, before each change", qPrintable(id)) << id << ChangeMoment::Before;
        QTest::addRow("%s, after each change", qPrintable(id)) << id << ChangeMoment::After;
    }
}

void tst_KilledProgram::nextStartPutsEverythingBack()
{
    QFETCH(QString, id);
    QFETCH(ChangeMoment, moment);
    int kills = 0;
    for (bool killed = true; killed;) {
        const TestMachine machine;
        const MachineImage before = TestMachine::image();
        const auto run = [&machine](const QStringList& arguments, QString* output = nullptr) {
            QProcess program;
            program.setEnvironment(QProcess::systemEnvironment() + machine.childEnvironment());
            program.start(QStringLiteral(TORVELANE_PROGRAM), arguments);
            program.waitForFinished(programTimeoutMs);
            if (output)
                *output = QString::fromUtf8(program.readAllStandardOutput());
            return program.exitStatus() == QProcess::NormalExit;
        };
        SimulatedPc::killAtChange(kills + 1, moment);
        killed = !run({u"apply"_s, id});
        kills += killed;
        SimulatedPc::clearFaults();
        QString output;
        QVERIFY(run({u"status"_s}, &output));
        QCOMPARE(output.section(u"Applied tweaks: "_s, 1), killed ? u"\n"_s : QString(id + u'\n'));
        QCOMPARE(differences(before, TestMachine::image()).isEmpty(), killed);
    }
    QCOMPARE_GE(kills, 3);
}

QTEST_GUILESS_MAIN(tst_KilledProgram)

#include "tst_KilledProgram.moc"
