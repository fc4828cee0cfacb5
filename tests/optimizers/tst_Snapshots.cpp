#include "optimizers/AppOptimizer.h"
#include "optimizers/BufferbloatOptimizer.h"
#include "optimizers/GamingMode.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/OptimizerBench.h"
#include "optimizers/OptimizerLock.h"
#include "optimizers/PowerPlanManager.h"
#include "optimizers/ServiceProfiles.h"
#include "support/Child.h"
#include "support/MachineWatch.h"

namespace {

const QString app = u"C:\\Games\\racer.exe"_s;
const QString perfKey =
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options\\racer.exe\\PerfOptions"_s;
const QString priorityName = u"CpuPriorityClass"_s;
const QString mouseKey = u"Control Panel\\Mouse"_s;
const QString refusal =
    u"Another Torvelane process is changing this PC, so nothing was changed. Try again when it has finished."_s;

struct Answer {
    bool ok = false;
    QString message;
};

template <typename Result>
Answer answerOf(const Result& result)
{
    return {result.ok, result.message};
}

/// What one program has of the optimisers, as its pages hold them.
struct Program {
    NetworkOptimizer network;
    BufferbloatOptimizer bufferbloat;
    ServiceProfiles services;
    AppOptimizer apps;

    void applyAll()
    {
        std::ignore = network.applyAll(listNetAdapters());
        std::ignore = bufferbloat.applyAll(listNetAdapters());
        std::ignore = services.apply(ServiceProfileId::Basic);
        std::ignore = apps.optimize(app);
    }

    void restoreAll()
    {
        std::ignore = apps.restore(u"racer.exe"_s);
        std::ignore = services.restoreDefaults();
        std::ignore = bufferbloat.restoreAll();
        std::ignore = network.restoreAll();
    }
};

/// Applies everything; with "stop" it stops at its first change until it is told to go on.
int runChild(const QStringList& arguments)
{
    Program program;
    if (arguments.at(0) == "stop"_L1) {
        watchMachine([stopped = false]() mutable {
            if (!std::exchange(stopped, true))
                stopUntilToldToGoOn();
        });
    }
    program.applyAll();
    watchMachine({});
    return 0;
}

RegistryValue textValue(const QString& text)
{
    return {.exists = true, .kind = RegistryValueKind::Sz, .number = 0, .text = text, .bytes = {}};
}

void edit(const QString& fileName, const std::function<void(QJsonObject&)>& change)
{
    QJsonObject document = snapshot(fileName);
    change(document);
    putSnapshot(fileName, QJsonDocument(document).toJson());
}

} // namespace

/// What all snapshots share: texts, kinds of values, and another process beside this one.
class tst_Snapshots : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        OptimizerLock::setLongestWait(10000);
        MachineSuite::cleanup();
    }

    void textsThatBeginWithAMark()
    {
        const RegistryValue marked = textValue(u"\ufeffslow\ufeff"_s);
        const QString adapterKey = listNetAdapters().constFirst().regSubKey;
        QVERIFY(writeValue(RegistryHive::LocalMachine, adapterKey, u"*FlowControl"_s, marked));
        QVERIFY(writeValue(RegistryHive::LocalMachine, perfKey, priorityName, marked));
        QVERIFY(writeValue(RegistryHive::CurrentUser, mouseKey, u"MouseSpeed"_s, marked));
        const MachineImage before = TestMachine::image();
        Program().applyAll();
        QVERIFY(GamingMode::activate().ok);
        QVERIFY(GamingMode::deactivate().ok);
        Program().restoreAll();
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    /// As a later version may have captured them. The value that is there stays: it isn't deleted.
    void unknownKinds_data()
    {
        QTest::addColumn<QJsonValue>("kind");   // of the two snapshots with names
        QTest::addColumn<QJsonValue>("number"); // of the one with numbers
        QTest::newRow("later") << QJsonValue(u"multi_sz"_s) << QJsonValue(6);
        QTest::newRow("spelt otherwise") << QJsonValue(u"SZ"_s) << QJsonValue(-1);
        QTest::newRow("a kind that only no value has") << QJsonValue(u"none"_s) << QJsonValue(0);
        QTest::newRow("of another form") << QJsonValue(3) << QJsonValue(u"sz"_s);
    }

    void unknownKinds()
    {
        QFETCH(QJsonValue, kind);
        QFETCH(QJsonValue, number);
        QVERIFY(writeDword(RegistryHive::LocalMachine, perfKey, priorityName, 2));
        Program program;
        program.applyAll();
        QVERIFY(GamingMode::activate().ok);
        const QString guid = snapshot(u"network_opt.json"_s).constBegin().key();
        QString adapterKey;
        QString setting;
        qsizetype captured = 0;
        edit(u"network_opt.json"_s, [&](QJsonObject& document) {
            QJsonObject entry = document.value(guid).toObject();
            QJsonArray values = entry.value(u"values"_s).toArray();
            QJsonObject value = values.at(0).toObject();
            adapterKey = entry.value(u"regSubKey"_s).toString();
            setting = value.value(u"name"_s).toString();
            captured = values.size();
            value.insert(u"valueType"_s, kind);
            values.replace(0, value);
            entry.insert(u"values"_s, values);
            document.insert(guid, entry);
        });
        edit(u"app_optimize.json"_s, [&](QJsonObject& document) {
            QJsonObject entry = document.value(u"racer.exe"_s).toObject();
            QJsonObject original = entry.value(u"original"_s).toObject();
            original.insert(u"valueType"_s, kind);
            entry.insert(u"original"_s, original);
            document.insert(u"racer.exe"_s, entry);
        });
        edit(u"gaming_mode.json"_s, [&](QJsonObject& document) {
            QJsonArray entries = document.value(u"entries"_s).toArray();
            QJsonObject entry = entries.at(15).toObject();
            QJsonObject snap = entry.value(u"snap"_s).toObject();
            snap.insert(u"type"_s, number);
            entry.insert(u"snap"_s, snap);
            entries.replace(15, entry);
            document.insert(u"entries"_s, entries);
        });
        const QJsonValue foreign = snapshot(u"app_optimize.json"_s).value(u"racer.exe"_s);

        const LogCapture log;
        std::ignore = program.network.restoreAll();
        QCOMPARE(log.lines().filter(u"Restored "_s).filter(u": %1 setting(s)"_s.arg(captured - 1)).size(), 1);
        QCOMPARE(machineValue(adapterKey, setting), textValue(u"0"_s));
        QCOMPARE(GamingMode::deactivate().count, 19);
        RegistryValue speed;
        QVERIFY(readValue(RegistryHive::CurrentUser, mouseKey, u"MouseSpeed"_s, speed));
        QCOMPARE(speed, textValue(u"0"_s));
        // It isn't rewritten either as long as it is there.
        QVERIFY(program.apps.optimize(u"C:\\other.exe"_s).ok);
        QCOMPARE(snapshot(u"app_optimize.json"_s).value(u"racer.exe"_s), foreign);
        QCOMPARE(program.apps.restore(u"racer.exe"_s).message, u"Failed to restore racer.exe."_s);
        QCOMPARE(machineValue(perfKey, priorityName).number, 3u);
    }

    /// One process is in the middle of it: this one changes nothing, and says why.
    void anotherProcessIsAtIt_data()
    {
        using Operation = std::function<Answer(Program&)>;
        QTest::addColumn<Operation>("operation");
        const auto row = [](const char* name, const Operation& operation) { QTest::newRow(name) << operation; };
        row("network", [](Program& p) { return answerOf(p.network.applyAll(listNetAdapters())); });
        row("one adapter", [](Program& p) { return answerOf(p.network.apply(listNetAdapters().constFirst())); });
        row("network back", [](Program& p) { return answerOf(p.network.restoreAll()); });
        row("one adapter back", [](Program& p) { return answerOf(p.network.restore(u"{1}"_s, {})); });
        row("buffers", [](Program& p) { return answerOf(p.bufferbloat.applyAll(listNetAdapters())); });
        row("buffers back", [](Program& p) { return answerOf(p.bufferbloat.restoreAll()); });
        row("services", [](Program& p) { return answerOf(p.services.apply(ServiceProfileId::Basic)); });
        row("services back", [](Program& p) { return answerOf(p.services.restoreDefaults()); });
        row("app", [](Program& p) { return answerOf(p.apps.optimize(app)); });
        row("app back", [](Program& p) { return answerOf(p.apps.restore(u"racer.exe"_s)); });
        row("plan", [](Program&) { return answerOf(PowerPlanManager::activatePlan(u"x"_s)); });
        row("best plan", [](Program&) { return answerOf(PowerPlanManager::applyBestPlan()); });
        row("processor", [](Program&) { return answerOf(PowerPlanManager::applyMaxCpu()); });
        row("processor back", [](Program&) { return answerOf(PowerPlanManager::restoreCpu()); });
        row("disk", [](Program&) { return answerOf(PowerPlanManager::applyMaxDisk()); });
        row("disk back", [](Program&) { return answerOf(PowerPlanManager::restoreDisk()); });
        row("gaming", [](Program&) { return answerOf(GamingMode::activate()); });
        row("gaming back", [](Program&) { return answerOf(GamingMode::deactivate()); });
    }

    void anotherProcessIsAtIt()
    {
        QFETCH(std::function<Answer(Program&)>, operation);
        OptimizerLock::setLongestWait(20);
        Child other(*m_machine, {u"stop"_s});
        QVERIFY(other.hasStopped());
        Program program;
        const MachineImage before = TestMachine::image();
        const Answer answer = operation(program);
        QVERIFY(!answer.ok);
        QCOMPARE(answer.message, refusal);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    /// An object that was made before another process applied takes nothing of what that left for an original, and gives
    /// everything back.
    void anotherProcessWasHere()
    {
        const MachineImage before = TestMachine::image();
        Program program;
        QVERIFY(Child(*m_machine, {u"through"_s}).hasSucceeded());
        QVERIFY(differences(before, TestMachine::image()).size() > 10);
        QCOMPARE(program.apps.optimize(app).message, u"racer.exe is already optimized."_s);
        program.applyAll();
        program.restoreAll();
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        QVERIFY(!NetworkOptimizer().hasSnapshots());
    }

    /// What is remembered stands while the file is older, or has been damaged since.
    void filesThatCannotBeWritten()
    {
        const MachineImage before = TestMachine::image();
        Program program;
        const QStringList files{u"network_opt.json"_s, u"bufferbloat_opt.json"_s, u"services_profile.json"_s,
                                u"app_optimize.json"_s};
        for (const QString& file : files)
            QVERIFY(QDir().mkpath(snapshotPath(file)));
        program.applyAll();
        QVERIFY(differences(before, TestMachine::image()).size() > 10);
        for (const QString& file : files) {
            QVERIFY(QDir().rmdir(snapshotPath(file)));
            putSnapshot(file, "{}");
        }
        program.restoreAll();
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        program.applyAll();
        for (const QString& file : files)
            putSnapshot(file, "{\"x\": ");
        program.restoreAll();
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    /// A lock that can't be opened says nothing of another process.
    void noLock()
    {
        const MachineImage before = TestMachine::image();
        QVERIFY(QDir().mkpath(Paths::lockFile()));
        const LogCapture log;
        Program program;
        QVERIFY(program.services.apply(ServiceProfileId::Basic).count > 0);
        QVERIFY(!log.lines().filter(u"[WARN] services: The lock between processes could not be opened"_s).isEmpty());
        QVERIFY(program.services.restoreDefaults().ok);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }
};

int main(int argc, char** argv)
{
    return runSuite<tst_Snapshots>(argc, argv, runChild);
}

#include "tst_Snapshots.moc"
