#include "optimizers/AppOptimizer.h"
#include "optimizers/OptimizerBench.h"
#include "optimizers/ServiceProfiles.h"
#include "support/simulated/Suite.h"

namespace {

const QString servicesFile = u"services_profile.json"_s;
const QString appsFile = u"app_optimize.json"_s;

quint64 startOf(const QString& service)
{
    return machineValue(u"SYSTEM\\CurrentControlSet\\Services\\"_s + service, u"Start"_s).number;
}

QString perfKey(const QString& app)
{
    return u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options\\%1\\PerfOptions"_s.arg(app);
}

RegistryValue priority(const QString& app)
{
    return machineValue(perfKey(app), u"CpuPriorityClass"_s);
}

} // namespace

class tst_ServicesAndApps : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void profilesFollowEachOther()
    {
        const QString servicesKey = u"SYSTEM\\CurrentControlSet\\Services\\"_s;
        QVERIFY(writeDword(RegistryHive::LocalMachine, servicesKey + u"MapsBroker"_s, u"Start"_s, 4));
        const MachineImage before = TestMachine::image();
        ServiceProfiles services;
        // WMPNetworkSvc isn't on this machine, and MapsBroker was off before.
        QCOMPARE(services.apply(ServiceProfileId::Basic).count, 8);
        QCOMPARE(startOf(u"DiagTrack"_s), 4u);
        QVERIFY(!machineValue(servicesKey + u"WMPNetworkSvc"_s, u"Start"_s).exists);
        const QJsonObject first = snapshot(servicesFile);
        QVERIFY(!first.value(u"services"_s).toObject().contains(u"MapsBroker"_s));

        std::ignore = services.apply(ServiceProfileId::Basic);
        QCOMPARE(snapshot(servicesFile), first);

        // By an object that knows it from the file.
        ServiceProfiles again;
        QCOMPARE(again.profile(), ServiceProfileId::Basic);
        QCOMPARE(again.apply(ServiceProfileId::Advanced).count, 23);
        QCOMPARE(snapshot(servicesFile).value(u"services"_s).toObject().size(), 23);
        QCOMPARE(again.apply(ServiceProfileId::None).message,
                 u"Default services restored (23). A reboot finalizes the changes."_s);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        QCOMPARE(snapshot(servicesFile).value(u"profile"_s).toString(), u"none"_s);
        QCOMPARE(again.restoreDefaults().message, u"Already on default services."_s);
    }

    void foreignServiceFiles()
    {
        // The profile that the program takes it for, and the service's start after a restore.
        for (const auto& [bytes, profile, diagTrack] :
             {std::tuple("{'profile':'basic','services':{'DiagTrack':{}}}", 1, 2u),
              {"{'profile':'Basic','services':{'DiagTrack':{'start':3}}}", 0, 3u},
              {"{'profile':'basic','services':{'DiagTrack':{'start':1e300}}}", 1, 2u},
              {"{'profile':'basic','services':{'DiagTrack':{'start':4294967296}}}", 1, 2u},
              {"{'profile':'basic','services':{'DiagTrack':{'start':4294967295}}}", 1, 4294967295u},
              {"{'profile':'basic','services':{'DiagTrack':{'start':-1}}}", 1, 2u},
              {"{'profile':'basic','ser", 0, 2u}}) {
            m_machine.emplace();
            putSnapshot(servicesFile, QByteArray(bytes).replace('\'', '"'));
            ServiceProfiles services;
            QCOMPARE(static_cast<int>(services.profile()), profile);
            std::ignore = services.restoreDefaults();
            QCOMPARE(startOf(u"DiagTrack"_s), diagTrack);
        }
    }

    void appThereAndBack()
    {
        QVERIFY(writeDword(RegistryHive::LocalMachine, perfKey(u"other.exe"_s), u"CpuPriorityClass"_s, 1));
        const MachineImage before = TestMachine::image();
        AppOptimizer apps;
        QVERIFY(apps.optimize(u"C:\\Games\\GAME.EXE"_s).ok);
        QCOMPARE(priority(u"GAME.EXE"_s).number, 3u);
        QCOMPARE(apps.optimize(u"D:/game.exe"_s).message, u"game.exe is already optimized."_s);
        QVERIFY(apps.optimize(u"C:\\Other.exe"_s).ok);

        AppOptimizer again;
        QCOMPARE(again.list().size(), 2);
        QVERIFY(again.restore(u"game.exe"_s).ok);
        QVERIFY(again.restore(u"other.exe"_s).ok);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    void appFailures()
    {
        for (const auto& [path, failing, message] :
             {std::tuple(u"C:\\Games\\game.dll"_s, QString(), u"Please choose an .exe file."_s),
              {u"C:\\Games\\"_s, QString(), u"Please choose an .exe file."_s},
              {u"C:\\game.exe"_s, u"registry.openToRead"_s, u"Could not access Image File Execution Options."_s},
              {u"C:\\game.exe"_s, u"registry.setValue"_s, u"Failed to write the priority setting."_s}}) {
            SimulatedPc::clearFaults();
            if (!failing.isEmpty())
                SimulatedPc::fail(failing, Win32Error::AccessDenied);
            AppOptimizer apps;
            const AppOptimizeResult result = apps.optimize(path);
            QVERIFY(!result.ok);
            QCOMPARE(result.message, message);
            QVERIFY(apps.list().isEmpty());
            QVERIFY(snapshot(appsFile).isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(tst_ServicesAndApps)
#include "tst_ServicesAndApps.moc"
