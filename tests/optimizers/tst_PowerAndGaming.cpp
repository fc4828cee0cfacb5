#include "optimizers/GamingMode.h"
#include "optimizers/OptimizerBench.h"
#include "optimizers/PowerPlanManager.h"
#include "support/simulated/Suite.h"

namespace Plans = PowerPlanManager;

namespace {

const QString balanced = u"381b4222-f694-41f0-9685-ff5bb260df2e"_s;
const QString highPerformance = u"8c5e7fda-e8bf-4a96-9a85-a6e23a8c635c"_s;
const QString ultimate = u"e9a42b02-d5df-448d-aa00-03f14749eb61"_s;
const QString processor = u"54533251-82be-4824-96c1-47b60b740d00"_s;
const QString minimumState = u"893dee8e-2bef-41e0-89c6-b55d0929964c"_s;
const QString cpuFile = u"cpu_perf.json"_s;
const QString gamingFile = u"gaming_mode.json"_s;

QString active()
{
    return SimulatedPc::value(u"power/active"_s).toString();
}

int index(const QString& plan, const QString& setting, const QString& source)
{
    return SimulatedPc::value(u"power/plans/%1/indices/%2/%3/%4"_s.arg(plan, processor, setting, source)).toInt(-1);
}

} // namespace

class tst_PowerAndGaming : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void plansInTheSystemsLanguage()
    {
        SimulatedPc::setValue(u"user/language"_s, u"fr"_s);
        const QList<PowerPlan> plans = Plans::listPlans();
        QCOMPARE(plans.size(), 3);
        QCOMPARE(plans.at(1).guid, highPerformance);
        QCOMPARE(plans.at(1).name, u"Performances élevées"_s);
        QVERIFY(plans.at(0).active);
        QCOMPARE(Plans::activeScheme(), balanced);
    }

    void aSettingsIndices()
    {
        SimulatedPc::setValue(u"user/language"_s, u"fr"_s);
        SimulatedPc::setValue(u"power/plans/%1/indices/%2/%3/dc"_s.arg(balanced, processor, minimumState), 7);
        const PowerSettingValue shown = Plans::querySetting(processor, minimumState);
        QCOMPARE(shown.ac, 5);
        QCOMPARE(shown.dc, 7);
        // One that powercfg hides, and one that isn't there.
        QCOMPARE(Plans::querySetting(processor, u"5d76a2ca-e8c0-402f-a133-2158492d58ad"_s).ac, -1);
        QCOMPARE(Plans::querySetting(processor, balanced).ac, -1);
    }

    void bestPlan()
    {
        const QString asUltimate = u"Applied Ultimate Performance power plan."_s;
        // The plans that there are, whether one can be duplicated, and the plan that is active then; none: a new one.
        for (const auto& [hasUltimate, hasHigh, canDuplicate, plan, message] :
             {std::tuple(true, true, true, ultimate, asUltimate),
              {false, true, true, highPerformance, u"Applied High Performance power plan."_s},
              {false, false, true, QString(), asUltimate},
              {false, false, false, balanced,
               u"powercfg failed: The power scheme, subgroup or setting specified does not exist."_s}}) {
            m_machine.emplace();
            if (hasUltimate)
                SimulatedPc::setValue(u"power/plans/"_s + ultimate,
                                      SimulatedPc::value(u"power/templates/"_s + ultimate));
            if (!hasHigh)
                SimulatedPc::setValue(u"power/plans/"_s + highPerformance, QJsonValue(QJsonValue::Undefined));
            if (!canDuplicate)
                SimulatedPc::fail(u"power.duplicate"_s, 1);
            const PowerPlanResult result = Plans::applyBestPlan();
            QCOMPARE(result.message, message);
            QCOMPARE(result.ok, plan != balanced);
            if (plan.isEmpty())
                QVERIFY(!QStringList({balanced, highPerformance, ultimate}).contains(active()));
            else
                QCOMPARE(active(), plan);
            QCOMPARE(SimulatedPc::calls(u"power.duplicate"_s).size(), hasUltimate || hasHigh ? 0 : 1);
        }
    }

    /// The indices go to the plan of the moment, and the plan of the apply becomes active again.
    void restoreAfterThePlanWasChanged()
    {
        QVERIFY(Plans::applyMaxCpu().ok);
        QCOMPARE(index(balanced, minimumState, u"dc"_s), 100);
        // The three that powercfg hides are neither recorded nor changed.
        QCOMPARE(snapshot(cpuFile).value(u"settings"_s).toArray().size(), 2);
        QVERIFY(Plans::activatePlan(highPerformance).ok);
        QVERIFY(Plans::restoreCpu().ok);
        QCOMPARE(index(highPerformance, minimumState, u"ac"_s), 5);
        QCOMPARE(index(balanced, minimumState, u"ac"_s), 100);
        QCOMPARE(active(), balanced);
    }

    void bundleFailures()
    {
        SimulatedPc::fail(u"power.query"_s, 1);
        QCOMPARE(Plans::applyMaxDisk().message, u"No adjustable disk power settings were found."_s);
        QVERIFY(!Plans::isMaxDiskApplied());
        SimulatedPc::fail(u"power.getactivescheme"_s, 1);
        QCOMPARE(Plans::applyMaxDisk().message, u"Could not read the active power plan."_s);
        SimulatedPc::clearFaults();
        putSnapshot(u"disk_perf.json"_s, "{\"scheme\": 3, \"set");
        QCOMPARE(Plans::restoreDisk().message, u"Disk power settings restored to their previous values."_s);
        QVERIFY(!Plans::isMaxDiskApplied());
    }

    void gamingModeThereAndBack()
    {
        const QString mouse = u"Control Panel\\Mouse"_s;
        QVERIFY(writeBinary(RegistryHive::CurrentUser, mouse, u"MouseSpeed"_s, QByteArray("\x01\x00\xff", 3)));
        const MachineImage before = TestMachine::image();
        const GamingResult on = GamingMode::activate();
        QCOMPARE(on.message, u"Gaming Mode activated — 20 system settings tuned."_s);
        QCOMPARE(active(), highPerformance);
        const QJsonObject first = snapshot(gamingFile);
        QCOMPARE(GamingMode::activate().message, u"Gaming Mode is already active."_s);
        QCOMPARE(snapshot(gamingFile), first);

        QCOMPARE(GamingMode::deactivate().message, u"Gaming Mode deactivated — 20 setting(s) restored to defaults."_s);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        QCOMPARE(snapshot(gamingFile), QJsonObject({{u"active"_s, false}}));
        QVERIFY(!QFile::exists(snapshotPath(cpuFile)));
    }

    void gamingModesFile()
    {
        const MachineImage before = TestMachine::image();
        QVERIFY(QDir(Paths::dataDir()).mkpath(gamingFile)); // a folder in its place
        const GamingResult on = GamingMode::activate();
        QVERIFY(!on.ok);
        QCOMPARE(on.message, u"Could not save the Gaming Mode state file."_s);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        QVERIFY(QDir(Paths::dataDir()).rmdir(gamingFile));

        QVERIFY(GamingMode::activate().ok);
        QFile file(snapshotPath(gamingFile));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        bytes.replace(bytes.indexOf("HKCU"), 4, "HKXX");
        QVERIFY(file.seek(0) && file.write(bytes) == bytes.size() && file.flush());
        QCOMPARE(GamingMode::deactivate().count, 19);
    }
};

QTEST_GUILESS_MAIN(tst_PowerAndGaming)
#include "tst_PowerAndGaming.moc"
