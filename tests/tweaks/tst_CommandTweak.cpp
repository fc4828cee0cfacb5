#include "support/simulated/Suite.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/TweakCatalog.h"

using platform::CallRecord;

namespace {

const QString userSid = u"S-1-5-21-1004336348-1177238915-682003330-1001"_s;

/// The calls of the machine that failed: tools and commands within a line included.
QStringList failedCalls()
{
    QStringList lines;
    for (const CallRecord& record : SimulatedPc::calls()) {
        if (record.answer != 0)
            lines.append(record.call.name + u' ' + record.call.argumentLine());
    }
    return lines;
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
                QCOMPARE(failedCalls(), QStringList());
                // What the tools keep comes back; only the switches of devices have no record of their own.
                if (changes && !id.startsWith(u"torv.action.disable-"_s))
                    QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
            }
        }
        QCOMPARE_GE(SimulatedPc::calls(u"tools.cmd"_s).size(), 20);
    }
};

QTEST_GUILESS_MAIN(tst_CommandTweak)
#include "tst_CommandTweak.moc"
