#include "optimizers/BufferbloatOptimizer.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/OptimizerBench.h"
#include "support/simulated/Suite.h"

namespace {

const QString classKey = u"SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e972-e325-11ce-bfc1-08002be10318}"_s;
const QString wiredKey = classKey + u"\\0001"_s;
const QString wifiKey = classKey + u"\\0002"_s;
const QString restartCall = u"netDevices.restart"_s;

QStringList names(const QList<NetAdapter>& adapters)
{
    QStringList all;
    for (const NetAdapter& adapter : adapters)
        all.append(adapter.connectionName);
    return all;
}

NetAdapter named(const QString& connectionName)
{
    const QList<NetAdapter> all = listNetAdapters();
    return *std::ranges::find(all, connectionName, &NetAdapter::connectionName);
}

qsizetype restarts()
{
    return SimulatedPc::calls(restartCall).size();
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
        QCOMPARE(names(all), QStringList({u"Ethernet"_s, u"Wi-Fi"_s, u"Ethernet 2"_s}));
        QCOMPARE(all.at(0).regSubKey, wiredKey);
        QCOMPARE(all.at(0).netEnabled, true);
        QCOMPARE(all.at(2).netEnabled, false);
        SimulatedPc::fail(u"wmi.connectServer"_s, HResult(static_cast<qint32>(0x80041003)));
        QVERIFY(listNetAdapters().isEmpty());
        QCOMPARE(
            m_machine->log.count(u"[WARN] net: WMI unavailable for adapter enumeration: ConnectServer(ROOT\\CIMV2) "
                                 "failed (0x80041003)"_s),
            1);
    }

    void kindByTheDriversType()
    {
        const auto text = [](const QString& t) { return RegistryValue{true, RegistryValueKind::Sz, 0, t, {}}; };
        const auto binary = [](const QByteArray& b) {
            return RegistryValue{true, RegistryValueKind::Binary, 0, {}, b};
        };
        for (const auto& [stored, kind] :
             {std::pair(text(u"71"_s), AdapterKind::WiFi),
              {text(u" 6 "_s), AdapterKind::Ethernet},
              {text(u"131"_s), AdapterKind::Other},
              {text(u"six"_s), AdapterKind::Other},
              // As real drivers store it: four bytes that are no text.
              {RegistryValue{true, RegistryValueKind::Dword, 71, {}, {}}, AdapterKind::Other},
              {binary(QByteArray(3000, '7')), AdapterKind::Other},
              {binary(QByteArray("6\0\x36", 3)), AdapterKind::Ethernet}, // half a unit
              {RegistryValue(), AdapterKind::Other}}) {
            setType(wiredKey, stored);
            QCOMPARE(named(u"Ethernet"_s).kind, kind);
        }
    }

    void restart()
    {
        const QString wired = u"PCI\\VEN_10EC&DEV_8125&SUBSYS_87D71043&REV_05\\01000000684CE00000"_s;
        const QString refused = u"Could not restart adapter (changes apply after a reboot)"_s;
        for (const auto& [id, failing, error] : {std::tuple(wired.toLower(), QString(), QString()),
                                                 {QString(), QString(), u"Missing device instance id"_s},
                                                 {u"PCI\\NOWHERE"_s, QString(), refused},
                                                 {wired, restartCall, refused},
                                                 {wired, u"netDevices.list"_s, u"SetupDiGetClassDevs failed"_s}}) {
            m_machine.emplace();
            if (!failing.isEmpty())
                SimulatedPc::fail(failing, Win32Error::AccessDenied);
            NetAdapter adapter;
            adapter.pnpDeviceId = id;
            QString found;
            QCOMPARE(restartAdapter(adapter, &found), error.isEmpty());
            QCOMPARE(found, error);
            const QStringList line(u"[WARN] net: restart failed: "_s + error);
            QCOMPARE(m_machine->log.lines(), error.isEmpty() ? QStringList() : line);
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
        const RegistryValue off{true, RegistryValueKind::Sz, 0, u"0"_s, {}};
        QCOMPARE(machineValue(wiredKey, u"*FlowControl"_s), off);
        QCOMPARE(machineValue(wifiKey, u"uAPSDSupport"_s), off);
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
        const NicOptResult restored = optimizer.restoreAll();
        QCOMPARE(restored.message, u"Restored 2 adapter(s)."_s);
        SimulatedPc::setValue(u"netDevices/present"_s, QJsonArray());
        QCOMPARE(machineValue(wiredKey, u"*FlowControl"_s).kind, RegistryValueKind::Dword);
        QCOMPARE(differences({before.values, {}}, {TestMachine::image().values, {}}), QStringList());
        QVERIFY(QFile::exists(snapshotPath(u"network_opt.json"_s)));
        QVERIFY(snapshot(u"network_opt.json"_s).isEmpty());
        QCOMPARE(optimizer.restoreAll().message, u"Nothing to restore."_s);
    }

    void networkFailures()
    {
        NetworkOptimizer optimizer;
        NetAdapter adapter = named(u"Ethernet"_s);

        // Every write fails: a success that says nothing was written, and that a restore repairs nothing.
        SimulatedPc::fail(u"registry.setValue"_s, Win32Error::AccessDenied);
        SimulatedPc::fail(restartCall, Win32Error::AccessDenied);
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
        const MachineImage before = TestMachine::image();
        BufferbloatOptimizer optimizer;
        const BufferbloatResult applied = optimizer.applyAll(listNetAdapters());
        QVERIFY(applied.ok);
        // The Wi-Fi adapter has no buffers, and the disabled one is left alone.
        QCOMPARE(applied.adapters, 1);
        QCOMPARE(applied.message, u"Ultra-low bufferbloat applied to 1 adapter(s)."_s);
        QCOMPARE(machineValue(wiredKey, u"*TransmitBuffers"_s).text, u"96"_s);
        QCOMPARE(machineValue(wiredKey, u"*ReceiveBuffers"_s).text, u"80"_s);
        QCOMPARE(machineValue(classKey + u"\\0003"_s, u"*TransmitBuffers"_s).text, u"128"_s);

        QCOMPARE(optimizer.applyAll({named(u"Ethernet"_s)}).message,
                 u"No active adapter exposes adjustable buffer sizes."_s);
        QCOMPARE(optimizer.applyAll(listNetAdapters()).message,
                 u"No active adapter exposes adjustable buffer sizes (no adjustable buffers)."_s);

        QCOMPARE(BufferbloatOptimizer().restoreAll().message, u"Normal mode restored on 1 adapter(s)."_s);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        QCOMPARE(BufferbloatOptimizer().restoreAll().message, u"Already on normal mode."_s);
    }

    void buffersWithoutADeclaredMinimum()
    {
        // As a number it has no text; the other value alone is changed then.
        QVERIFY(writeDword(RegistryHive::LocalMachine, wiredKey + u"\\Ndi\\params\\*TransmitBuffers"_s, u"min"_s, 80));
        BufferbloatOptimizer optimizer;
        QVERIFY(optimizer.applyAll(listNetAdapters()).ok);
        QCOMPARE(machineValue(wiredKey, u"*TransmitBuffers"_s).text, u"512"_s);
        QCOMPARE(machineValue(wiredKey, u"*ReceiveBuffers"_s).text, u"80"_s);
        const QJsonObject entry = snapshot(u"bufferbloat_opt.json"_s).begin().value().toObject();
        QCOMPARE(entry.value(u"values"_s).toArray().size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_AdapterOptimizers)
#include "tst_AdapterOptimizers.moc"
