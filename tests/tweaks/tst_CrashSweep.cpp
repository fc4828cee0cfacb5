#include "app/AppContext.h"
#include "platform/Hardening.h"
#include "support/Child.h"
#include "support/MachineWatch.h"
#include "tweaks/StateSql.h"
#include "tweaks/Sweeps.h"
#include "tweaks/TweakEngine.h"

#include <QSet>

#include <cstdlib>

namespace {

const QString overOtherTypes = u"selftest.toggle"_s;
const QString selfTestPath = u"Software\\Torvelane\\SelfTest"_s;
const QString commands = u"tweaks.classic-context-menu"_s;

/// The program with one entry, in a process that stops for good at the given event: before or after a commit
/// of the store or a change of the registry. The parent then ends it, as a crash or a power cut would.
int runChild(const QStringList& arguments)
{
    const QString verb = arguments.at(0);
    const QString id = arguments.at(1);
    const auto event = stopAtEvent(arguments.at(2).toInt());
    platform::prepareProcess();
    watchMachine([&event] { event(); });
    AppContext context;
    context.store.setCommitObserver([&event](bool, const char*) { event(); });
    if (!context.init())
        return 2;
    bool ok = true;
    if (verb == "apply"_L1)
        ok = context.engine->applyTweak(id, Tier::Pro, nullptr, false);
    else if (verb == "revert"_L1)
        ok = context.engine->revertTweak(id, nullptr, true);
    watchMachine({});
    return ok ? 0 : 1;
}

/// The state of the entry's row; empty if there is none. Looks at a copy: opening the database would already repair it.
QString rowState(const TestMachine& machine, const QString& id)
{
    const QString copy = machine.scratchFile(u"state.db"_s);
    for (const auto& suffix : {""_L1, "-wal"_L1}) {
        QFile::remove(copy + suffix);
        QFile::copy(Paths::stateDb() + suffix, copy + suffix);
    }
    return stateSql(u"SELECT state FROM tweak_state WHERE tweak_id='%1'"_s.arg(id), copy).join(u' ');
}

} // namespace

/// Apply and revert of one entry, ended at each of their events; the recovery that follows ended at its own; then a
/// start that is left alone. The machine has to be what it was before the entry was applied.
class tst_CrashSweep : public QObject {
    Q_OBJECT

private:
    QString m_id;
    MachineImage m_before;
    MachineImage m_applied;
    MachineImage m_restored;
    QSet<QString> m_statesLeft;
    QString m_what; ///< The current step, for the problems.
    QStringList m_problems;

    void expect(bool condition, const QString& what)
    {
        if (!condition)
            m_problems.append(m_what + what);
    }

    void expectImage(const MachineImage& expected, const QString& when)
    {
        const QStringList lines = differences(expected, TestMachine::image());
        expect(lines.isEmpty(), when + u'\n' + lines.join(u'\n'));
    }

    /// One entry stands over values of other types than its own.
    void arrange()
    {
        if (m_id == overOtherTypes) {
            expect(writeString(RegistryHive::CurrentUser, selfTestPath, u"Enabled"_s, u"%x%"_s, true)
                       && writeDword(RegistryHive::CurrentUser, selfTestPath, u"Label"_s, 0x1000007),
                   u"could not be arranged"_s);
        }
    }

    /// Whether the child came to the event and was ended there; otherwise it has to get through.
    bool run(const TestMachine& machine, const QString& verb, int stopAt = 0)
    {
        Child child(machine, {verb, m_id, QString::number(stopAt)});
        const bool stopped = child.hasStopped();
        if (stopped)
            child.crash();
        else
            expect(child.hasSucceeded(), verb + u" failed"_s);
        return stopped;
    }

    /// Whether there was such an event; with `recoveryEvent`, whether there was such a one in the recovery.
    bool kill(const QString& verb, int event, int recoveryEvent)
    {
        m_what = u"%1 ended at event %2, the recovery at %3: "_s.arg(verb).arg(event).arg(recoveryEvent);
        const TestMachine machine;
        arrange();
        if (verb == u"revert")
            run(machine, u"apply"_s);
        if (!run(machine, verb, event)) {
            expectImage(verb == u"apply" ? m_applied : m_restored, u"completed"_s);
            run(machine, u"revert"_s);
            return false;
        }
        const QString left = rowState(machine, m_id);
        m_statesLeft.insert(left);
        const bool reached = recoveryEvent == 0 || run(machine, u"recover"_s, recoveryEvent);

        // The second recovery has nothing left to do and must leave everything as it is.
        for (int i = 0; i < (recoveryEvent == 0 ? 2 : 1); ++i) {
            run(machine, u"recover"_s);
            const bool stays = left == u"applied";
            expectImage(stays ? m_applied : left.isEmpty() ? m_before : m_restored, u"after the next start"_s);
            expect(rowState(machine, m_id) == (left.isEmpty() || stays ? left : u"reverted"_s), u"row"_s);
        }
        if (left == u"applied") {
            run(machine, u"revert"_s);
            expectImage(m_restored, u"after a revert"_s);
        }
        return reached;
    }

    void killEverywhere(const QString& verb, int nestedStride, const QSet<QString>& expectedStates)
    {
        m_statesLeft.clear();
        int events = 0;
        while (m_problems.isEmpty() && kill(verb, events + 1, 0)) {
            ++events;
            for (int inner = 1; nestedStride > 0 && m_problems.isEmpty() && kill(verb, events, inner);)
                inner += nestedStride;
        }
        // Three commits, and each value that changes, with a before and an after: or else this was no sweep.
        const qsizetype valuesChanged =
            machineCanBeWatched && m_id != commands ? differences(m_before, m_applied).size() / 2 : 0;
        expect(events >= 6 + 2 * valuesChanged, u"only %1 events"_s.arg(events));
        expect(m_statesLeft == expectedStates, u"not all states were left behind"_s);
    }

private Q_SLOTS:
    void sweep_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("nestedStride"); // 0: no kills inside the recovery; 2: after an event is before the next
        QTest::newRow("over other types") << overOtherTypes << (machineCanBeWatched ? 3 : 0);
        if (!machineCanBeWatched)
            return;
        QTest::newRow("over nothing") << u"opt.disable-gamedvr"_s << 2;
        QTest::newRow("over a multi-string") << u"tweaks.disable-windows-tips"_s << 2;
        QTest::newRow("over two hives") << u"torv.opt.disable-settings-sync"_s << 7;
        QTest::newRow("commands") << commands << 2;
        if (!fullRun())
            return;
        TweakCatalog catalog;
        for (const auto& tweak : registryTweaks(catalog))
            QTest::newRow(qPrintable(tweak->id())) << tweak->id() << (tweak->operations().size() <= 8 ? 1 : 11);
    }

    void sweep()
    {
        QFETCH(QString, id);
        QFETCH(int, nestedStride);
        m_id = id;
        m_what.clear();
        m_problems.clear();
        {
            const TestMachine machine;
            arrange();
            // A fresh Windows fills in values of its own when a program first asks it for its folders.
            run(machine, u"recover"_s);
            m_before = TestMachine::image();
            run(machine, u"apply"_s);
            m_applied = TestMachine::image();
            m_restored = asRestored(m_before, m_applied);
            run(machine, u"revert"_s);
            expectImage(m_restored, u"undisturbed"_s);
        }
        killEverywhere(u"apply"_s, nestedStride, {QString(), u"capturing"_s, u"applied"_s});
        killEverywhere(u"revert"_s, nestedStride, {u"applied"_s, u"reverting"_s, u"reverted"_s});
        for (const QString& name : {u"Enabled"_s, u"Label"_s})
            QVERIFY(deleteValue(RegistryHive::CurrentUser, selfTestPath, name));
        QCOMPARE(m_problems.join(u'\n'), QString());
    }
};

int main(int argc, char** argv)
{
    return runSuite<tst_CrashSweep>(argc, argv, runChild);
}

#include "tst_CrashSweep.moc"
