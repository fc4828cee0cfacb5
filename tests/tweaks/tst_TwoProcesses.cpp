#include "platform/Hardening.h"
#include "support/Child.h"
#include "tweaks/StateSql.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

namespace {

const QString id = u"three"_s;
const QString busy = u"Another Torvelane process is changing the system; try again when it has finished"_s;

struct Program {
    Program()
    {
        QByteArray json = R"({"tweaks": [{"id": "three", "operations": [{@ "A"}, {@ "B"}, {@ "C"}]}]})";
        json.replace("@", R"("hive": "HKCU", "path": "Software\\Torvelane\\Test", "desired": 1, "name":)");
        if (!catalog.loadFromJson(json) || !store.open(Paths::stateDb()))
            qFatal("The program could not be brought up");
    }

    TweakCatalog catalog;
    StateStore store;
    TweakEngine engine{&catalog, &store};
};

/// Applies the entry and stops until it is told to go on: its row is committed, its values are half written.
int runChild(const QStringList&)
{
    platform::prepareProcess();
    Program program;
    program.store.setCommitObserver([](bool committed, const char* operation) {
        if (!committed && qstrcmp(operation, "setState") == 0)
            stopUntilToldToGoOn();
    });
    return program.engine.applyTweak(id, Tier::Pro, nullptr, false) ? 0 : 1;
}

QString state()
{
    return stateSql(u"SELECT state FROM tweak_state"_s).join(u' ');
}

} // namespace

/// One process meets another one that is in the middle of applying an entry.
class tst_TwoProcesses : public MachineSuite {
    Q_OBJECT

private:
    std::optional<Child> m_other;
    QMap<QString, RawValue> m_before;

private Q_SLOTS:
    void init()
    {
        MachineSuite::init();
        putRaw(u"A"_s, {platform::regDword, dwordBytes(7)});
        m_before = scratchImage();
        m_other.emplace(*m_machine);
        QVERIFY(m_other->hasStopped());
        QCOMPARE(state(), u"capturing"_s);
    }

    void cleanup()
    {
        m_other.reset();
        MachineSuite::cleanup();
    }

    /// Whatever this process tries, it waits for a while and then leaves everything to the other one.
    void itsChangeIsLeftAlone()
    {
        Program program;
        program.engine.setLockTimeouts({.changeMs = 50, .recoveryMs = 50});
        const auto halfDone = scratchImage();
        QString error;
        program.engine.recoverInterrupted();
        QVERIFY(m_machine->log.contains(u"[WARN] engine: Left 1 unfinished tweak(s) alone: "_s + busy));
        QVERIFY(!program.engine.applyTweak(id, Tier::Pro, &error, false));
        QCOMPARE(error, id + u": " + busy);
        QVERIFY(!program.engine.revertTweak(id, &error, false));
        QCOMPARE(error, busy);
        QCOMPARE(scratchImage(), halfDone);
        QCOMPARE(state(), u"capturing"_s);

        m_other->goOn();
        QVERIFY(m_other->hasSucceeded());
        QCOMPARE(state(), u"applied"_s);
        QVERIFY(program.engine.revertTweak(id, &error, true));
        QCOMPARE(scratchImage(), m_before);
    }

    /// The list from before the lock was had would still name the row.
    void recoveryWaitsAndLooksAgain()
    {
        Program program;
        program.engine.setLockTimeouts({.changeMs = Child::longMs, .recoveryMs = Child::longMs});
        {
            const std::jthread recovery([&program] { program.engine.recoverInterrupted(); });
            QTest::qWait(300);
            m_other->goOn();
        }
        QVERIFY(m_other->hasSucceeded());
        QCOMPARE(state(), u"applied"_s);
        QVERIFY(program.engine.revertTweak(id, nullptr, true));
        QCOMPARE(scratchImage(), m_before);
    }
};

int main(int argc, char** argv)
{
    return runSuite<tst_TwoProcesses>(argc, argv, runChild);
}

#include "tst_TwoProcesses.moc"
