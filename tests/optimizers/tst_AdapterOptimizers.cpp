#include "optimizers/BufferbloatOptimizer.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/OptimizerBench.h"
#include "support/simulated/Suite.h"

namespace {

const QString classKey = u"SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e972-e325-11ce-bfc1-08002be10318}"_s;
const QString wiredKey = classKey + u"\\0001"_s;
const QString wifiKey = classKey + u"\\0002"_s;

NetAdapter named(const QString& connectionName)
{
    const QList<NetAdapter> all = listNetAdapters();
    return *std::ranges::find(all, connectionName, &NetAdapter::connectionName);
}

qsizetype restarts()
{
    return SimulatedPc::calls(u"netDevices.restart"_s).size();
}

void setType(const QString& key, const RegistryValue& value)
{
    if (!writeValue(RegistryHive::LocalMachine, key, u"*IfType"_s, value))
        qFatal("The type could not be written");
}

} // namespace

class tst_AdapterOptimizers : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void onlyHardwareIsListed()
    {
        const QList<NetAdapter> all = listNetAdapters();
        QCOMPARE(all.size(), 3);
        QCOMPARE(all.at(0).regSubKey, wiredKey);
        QCOMPARE(all.at(0).netEnabled, true);
        QCOMPARE(all.at(2).connectionName, u"Ethernet 2"_s);
        QCOMPARE(all.at(2).netEnabled, false);
        SimulatedPc::fail(u"wmi.connectServer"_s, HResult(static_cast<qint32>(0x80041003)));
        QVERIFY(listNetAdapters().isEmpty());
    }

    void kindByTheDriversType()
    {
        using Kind = RegistryValueKind;
        for (const auto& [stored, kind] :
             {std::pair(RegistryValue{true, Kind::Sz, 0, u"71"_s, {}}, AdapterKind::WiFi),
              {{true, Kind::Sz, 0, u" 6 "_s, {}}, AdapterKind::Ethernet},
              {{true, Kind::Sz, 0, u"six"_s, {}}, AdapterKind::Other},
              // As real drivers store it: four bytes that are no text.
              {{true, Kind::Dword, 71, {}, {}}, AdapterKind::Other},
              {{true, Kind::Binary, 0, {}, "6\0\x36"_ba}, AdapterKind::Ethernet}, // half a unit
              {{}, AdapterKind::Other}}) {
            setType(wiredKey, stored);
            QCOMPARE(named(u"Ethernet"_s).kind, kind);
        }
    }

    void networkThereAndBack()
    {
        // A value that is no text, as some drivers have it, comes back with its type.
        QVERIFY(writeDword(RegistryHive::LocalMachine, wiredKey, u"*FlowControl"_s, 3));
        setType(wifiKey, {true, RegistryValueKind::Sz, 0, u"71"_s, {}});
        const MachineImage before = TestMachine::image();
        {
            NetworkOptimizer optimizer;
            const NicOptResult applied = optimizer.applyAll(listNetAdapters());
            QCOMPARE(applied.message, u"Optimized 2 adapter(s)."_s);
            QVERIFY(applied.ok);
            QCOMPARE(restarts(), 2);
        }
        QCOMPARE(machineValue(wifiKey, u"uAPSDSupport"_s), (RegistryValue{true, RegistryValueKind::Sz, 0, u"0"_s, {}}));
        // What the other kind would have changed, and what the driver hasn't got.
        QCOMPARE(machineValue(wifiKey, u"RoamAggressiveness"_s).text, u"2"_s);
        QVERIFY(!machineValue(wifiKey, u"*EEE"_s).exists);

        // Again, by an object that knows it from the file: nothing is captured anew, and nothing restarts.
        NetworkOptimizer optimizer;
        const QJsonObject first = snapshot(u"network_opt.json"_s);
        QCOMPARE(optimizer.applyAll(listNetAdapters()).message, u"Optimized 2 adapter(s)."_s);
        QCOMPARE(optimizer.apply(named(u"Ethernet"_s)).message, u"Already optimized."_s);
        QCOMPARE(snapshot(u"network_opt.json"_s), first);
        QCOMPARE(restarts(), 2);

        // Without any adapter to be listed.
        SimulatedPc::setValue(u"netDevices/present"_s, QJsonArray());
        QCOMPARE(optimizer.restoreAll().message, u"Restored 2 adapter(s)."_s);
        QCOMPARE(machineValue(wiredKey, u"*FlowControl"_s).kind, RegistryValueKind::Dword);
        QCOMPARE(differences({before.values, {}}, {TestMachine::image().values, {}}), QStringList());
        QCOMPARE(optimizer.restoreAll().message, u"Nothing to restore."_s);
    }

    void networkFailures()
    {
        NetworkOptimizer optimizer;
        NetAdapter adapter = named(u"Ethernet"_s);

        // Every write fails: a success that says nothing was written, and that a restore repairs nothing.
        SimulatedPc::fail(u"registry.setValue"_s, Win32Error::AccessDenied);
        SimulatedPc::fail(u"netDevices.restart"_s, Win32Error::AccessDenied);
        const NicOptResult applied = optimizer.apply(adapter);
        QVERIFY(applied.ok);
        QCOMPARE(
            applied.message,
            u"Applied. Could not restart adapter (changes apply after a reboot) — a reboot will finalize the changes."_s);
        QVERIFY(optimizer.isOptimized(adapter.guid));
        SimulatedPc::clearFaults();
        QCOMPARE(optimizer.restoreAll().message, u"Restored 1 adapter(s)."_s);

        adapter.regSubKey = classKey + u"\\0004"_s;
        const NicOptResult bare = optimizer.apply(adapter);
        QVERIFY(!bare.ok);
        QCOMPARE(bare.message, u"This adapter exposes none of the optimizable settings."_s);
        adapter.netEnabled = false;
        QCOMPARE(optimizer.applyAll({adapter}).message, u"No eligible network adapter to optimize."_s);
    }

    void bufferbloatThereAndBack()
    {
        QVERIFY(writeString(RegistryHive::LocalMachine, wiredKey + u"\\Ndi\\params\\*TransmitBuffers"_s, u"min"_s,
                            u" 96 "_s, false));
        // As a number it has no text, and that value stays.
        QVERIFY(writeDword(RegistryHive::LocalMachine, wiredKey + u"\\Ndi\\params\\*ReceiveBuffers"_s, u"min"_s, 80));
        const MachineImage before = TestMachine::image();
        BufferbloatOptimizer optimizer;
        // The Wi-Fi adapter has no buffers, and the disabled one is left alone.
        QCOMPARE(optimizer.applyAll(listNetAdapters()).adapters, 1);
        QCOMPARE(machineValue(wiredKey, u"*TransmitBuffers"_s).text, u"96"_s);
        QCOMPARE(machineValue(wiredKey, u"*ReceiveBuffers"_s).text, u"256"_s);
        QCOMPARE(machineValue(classKey + u"\\0003"_s, u"*TransmitBuffers"_s).text, u"128"_s);

        QVERIFY(!optimizer.applyAll(listNetAdapters()).ok);
        QCOMPARE(BufferbloatOptimizer().restoreAll().message, u"Normal mode restored on 1 adapter(s)."_s);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        QCOMPARE(BufferbloatOptimizer().restoreAll().message, u"Already on normal mode."_s);
    }
};

QTEST_GUILESS_MAIN(tst_AdapterOptimizers)
#include "tst_AdapterOptimizers.moc"
