#include "platform/Hardening.h"
#include "platform/Registry.h"
#include "support/ScratchMachine.h"
#include "tweaks/StateSql.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <cstdio>
#include <thread>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

const QString id = u"three"_s;
const QString childOption = u"--apply"_s;
const QString busy = u"Another Torvelane process is changing the system; try again when it has finished"_s;
constexpr int longMs = 30000;

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
int runChild(const QString& dataDir)
{
    Paths::setDataDirOverride(dataDir);
    platform::prepareProcess();
    Program program;
    program.store.setCommitObserver([](bool committed, const char* operation) {
        if (committed || qstrcmp(operation, "setState") != 0)
            return;
        std::puts("stopped");
        std::fflush(stdout);
        std::ignore = std::fgetc(stdin);
    });
    return program.engine.applyTweak(id, Tier::Pro, nullptr, false) ? 0 : 1;
}

QString state()
{
    return stateSql(u"SELECT state FROM tweak_state"_s).join(u' ');
}

} // namespace

/// One process meets another one that is in the middle of applying an entry.
class tst_TwoProcesses : public QObject {
    Q_OBJECT

private:
    std::optional<ScratchMachine> m_machine;
    std::optional<QProcess> m_other;
    QMap<QString, RawValue> m_before;

    /// Doesn't wait for an event loop, since the test waits for the lock.
    void goOn()
    {
        m_other->write("go\n");
        QVERIFY(m_other->waitForBytesWritten());
    }

private Q_SLOTS:
    void init()
    {
        m_machine.emplace();
        putRaw(u"A"_s, {platform::regDword, dwordBytes(7)});
        m_before = scratchImage();
        m_other.emplace();
        m_other->setEnvironment(QProcess::systemEnvironment() + m_machine->childEnvironment());
        m_other->setStandardErrorFile(QProcess::nullDevice());
        m_other->start(QCoreApplication::applicationFilePath(), {childOption, m_machine->dataDir()});
        QVERIFY(m_other->waitForReadyRead(longMs));
        QCOMPARE(state(), u"capturing"_s);
    }

    void cleanup()
    {
        m_other->kill();
        m_other->waitForFinished();
        m_other.reset();
        m_machine.reset();
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

        goOn();
        QVERIFY(m_other->waitForFinished());
        QCOMPARE(m_other->exitCode(), 0);
        QCOMPARE(state(), u"applied"_s);
        QVERIFY(program.engine.revertTweak(id, &error, true));
        QCOMPARE(scratchImage(), m_before);
    }

    /// The list from before the lock was had would still name the row.
    void recoveryWaitsAndLooksAgain()
    {
        Program program;
        program.engine.setLockTimeouts({.changeMs = longMs, .recoveryMs = longMs});
        {
            const std::jthread recovery([&program] { program.engine.recoverInterrupted(); });
            QTest::qWait(300);
            goOn();
        }
        QVERIFY(m_other->waitForFinished());
        QCOMPARE(state(), u"applied"_s);
        QVERIFY(program.engine.revertTweak(id, nullptr, true));
        QCOMPARE(scratchImage(), m_before);
    }

    void itsCrashIsRecovered()
    {
        m_other->kill();
        QVERIFY(m_other->waitForFinished());
        Program program;
        QVERIFY(scratchImage() != m_before);
        program.engine.recoverInterrupted();
        QCOMPARE(state(), u"reverted"_s);
        QCOMPARE(scratchImage(), m_before);
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (const QStringList arguments = QCoreApplication::arguments(); arguments.value(1) == childOption)
        return runChild(arguments.at(2));
    tst_TwoProcesses suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "tst_TwoProcesses.moc"
