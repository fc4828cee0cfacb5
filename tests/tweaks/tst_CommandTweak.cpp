#include "support/simulated/Suite.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/TweakCatalog.h"

using platform::CallRecord;

namespace {

const QString userSid = u"S-1-5-21-1004336348-1177238915-682003330-1001"_s;

/// The calls of the machine whose answer is another one: tools and commands within a line included.
QStringList callsNotAnswering(qint64 answer)
{
    QStringList lines;
    for (const CallRecord& record : SimulatedPc::calls()) {
        if (record.answer != answer)
            lines.append(record.call.name + u' ' + record.call.argumentLine());
    }
    return lines;
}

/// The commands of the catalogue that were run, one by one where a line holds several.
QStringList commandsRun()
{
    QStringList commands;
    for (const CallRecord& record : SimulatedPc::calls(u"tools.cmd"_s))
        commands.append(record.call.arguments.at(1).split(u" & "_s));
    return commands;
}

} // namespace

/// The catalogue's commands against the simulated tools, which know nothing but what these commands ask.
class tst_CommandTweak : public MachineSuite {
    Q_OBJECT

private:
    TweakCatalog m_catalog;
    QStringList m_ids;

private Q_SLOTS:
    void initTestCase()
    {
        const ScratchMachine machine;
        QVERIFY(m_catalog.load(u":/tweaks.json"_s));
        for (const TweakDefinition& definition : m_catalog.definitions()) {
            if (definition.type == tweakTypeCommand)
                m_ids.append(definition.id);
        }
        QCOMPARE(m_ids.size(), 10);
    }

    void cleanup()
    {
        setBootContext(false, {});
        m_machine.reset();
    }

    void everyCommandIsUnderstood()
    {
        for (const bool bootMode : {false, true}) {
            setBootContext(bootMode, userSid);
            for (const QString& id : std::as_const(m_ids)) {
                const MachineImage before = TestMachine::image();
                const auto tweak = m_catalog.implementation(id);
                QVERIFY(tweak->apply().ok);
                const bool changes = differences(before, TestMachine::image()) != QStringList();
                QVERIFY(tweak->revert({}).ok);
                QCOMPARE(callsNotAnswering(0), QStringList());
                // What the tools keep comes back; only the switches of devices have no record of their own.
                if (changes && !id.startsWith(u"torv.action.disable-"_s))
                    QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
            }
        }
        QCOMPARE_GE(commandsRun().size(), 25);
    }

    void misspeltCommandsFail()
    {
        for (const QString& id : std::as_const(m_ids))
            std::ignore = m_catalog.implementation(id)->apply();
        const QStringList commands = commandsRun();
        QCOMPARE_GE(commands.size(), 12);
        for (QString command : commands) {
            command.remove(1, 1);
            SimulatedPc::clearCalls();
            QVERIFY(runShellCommand(command, nullptr));
            QCOMPARE(callsNotAnswering(9009), QStringList());
            QVERIFY(m_machine->log.contains(u"[WARN] cmdtweak: '%1' exited with 9009"_s.arg(command)));
        }
    }
};

QTEST_GUILESS_MAIN(tst_CommandTweak)
#include "tst_CommandTweak.moc"
