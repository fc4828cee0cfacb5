#include "optimizers/BufferbloatOptimizer.h"
#include "optimizers/DebloatCleaner.h"
#include "optimizers/GameDetector.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/PowerPlanManager.h"
#include "support/Suite.h"
#include "support/windows/Native.h"
#include "system/WmiSession.h"

namespace {

constexpr auto hklm = platform::RootKey::LocalMachine;

NetAdapter scratchAdapter()
{
    NetAdapter adapter;
    adapter.guid = u"{0}"_s;
    adapter.name = u"Scratch"_s;
    adapter.pnpDeviceId = u"NO\\SUCH\\DEVICE"_s;
    adapter.regSubKey = scratchKey;
    adapter.netEnabled = true;
    return adapter;
}

bool makeFile(const QString& path, qsizetype sizeBytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly)
        && file.write(QByteArray(sizeBytes, 'x')) == sizeBytes;
}

} // namespace

/// Adapters, games and cleaning through the real registry, processes and folders; what holds other values is in
/// tst_Ledger. Under Wine there is no powercfg.exe and no device.
class tst_RealOptimizers : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        MachineSuite::cleanup();
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Torvelane");
    }

    /// Driver values of every type, written as text and put back as they were.
    void adapterValues()
    {
        putRaw(u"*EEE"_s, {1, utf16(u"1"_s)}, scratchKey, hklm);
        putRaw(u"*FlowControl"_s, {4, dwordBytes(3)}, scratchKey, hklm);
        putRaw(u"*LsoV2IPv4"_s, {2, utf16(u"%X%"_s)}, scratchKey, hklm);
        putRaw(u"*LsoV2IPv6"_s, {3, QByteArray("\x01\x00\xff", 3)}, scratchKey, hklm);
        putRaw(u"*WakeOnPattern"_s, {11, dwordBytes(7) + dwordBytes(1)}, scratchKey, hklm);
        const QMap<QString, RawValue> before = scratchImage(hklm);
        NetworkOptimizer optimizer;
        QVERIFY(optimizer.apply(scratchAdapter()).ok);
        for (const RawValue& value : scratchImage(hklm))
            QCOMPARE(value, (RawValue{1, utf16(u"0"_s)}));
        NetworkOptimizer nextStart;
        QVERIFY(nextStart.isOptimized(u"{0}"_s));
        QVERIFY(nextStart.restoreAll().ok);
        QCOMPARE(scratchImage(hklm), before);
    }

    void smallestBuffers()
    {
        putRaw(u"*ReceiveBuffers"_s, {1, utf16(u"512"_s)}, scratchKey, hklm);
        putRaw(u"*TransmitBuffers"_s, {4, dwordBytes(1024)}, scratchKey, hklm);
        putRaw(u"min"_s, {1, utf16(u" 80 "_s)}, scratchKey + u"\\Ndi\\params\\*ReceiveBuffers"_s, hklm);
        putRaw(u"min"_s, {4, dwordBytes(80)}, scratchKey + u"\\Ndi\\params\\*TransmitBuffers"_s, hklm); // no text
        const QMap<QString, RawValue> before = scratchImage(hklm);
        QCOMPARE(BufferbloatOptimizer().applyAll({scratchAdapter()}).adapters, 1);
        QCOMPARE(machineValue(scratchKey, u"*ReceiveBuffers"_s).text, u"80"_s);
        QCOMPARE(machineValue(scratchKey, u"*TransmitBuffers"_s).number, 1024u);
        QCOMPARE(BufferbloatOptimizer().restoreAll().adapters, 1);
        QCOMPARE(scratchImage(hklm), before);
    }

    /// An adapter that WMI lists is found with its driver's key, and its missing device can't be restarted.
    void adaptersOfTheMachine()
    {
        WmiSession session;
        QVERIFY(session.connect(u"ROOT\\CIMV2"_s, nullptr));
        QStringList guids;
        for (const WmiRow& row : session.query(u"SELECT * FROM Win32_NetworkAdapter"_s, nullptr)) {
            if (row.value(u"PhysicalAdapter"_s).toString() == u"true"_s
                && !row.value(u"MACAddress"_s).toString().isEmpty())
                guids.append(row.value(u"GUID"_s).toString());
        }
        const QString classKey =
            u"SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e972-e325-11ce-bfc1-08002be10318}\\T"_s;
        for (qsizetype i = 0; i < guids.size(); ++i) {
            putRaw(u"NetCfgInstanceId"_s, {1, utf16(guids.at(i).toLower())}, classKey + QString::number(i), hklm);
            putRaw(u"*IfType"_s, {1, utf16(u"6"_s)}, classKey + QString::number(i), hklm);
        }
        const QList<NetAdapter> adapters = listNetAdapters();
        for (qsizetype i = 0; i < guids.size(); ++i)
            RegDeleteTreeW(HKEY_LOCAL_MACHINE, native(classKey + QString::number(i)));
        if (guids.isEmpty())
            QSKIP("no adapter here");
        QCOMPARE(adapters.size(), guids.size());
        QCOMPARE(adapters.first().kind, AdapterKind::Ethernet);
        QVERIFY(!adapters.first().name.isEmpty());
        QString error;
        QVERIFY(!restartAdapter(scratchAdapter(), &error));
        QCOMPARE(error, u"Could not restart adapter (changes apply after a reboot)"_s);
    }

    void noPowercfg()
    {
        if (QFile::exists(u"C:/windows/system32/powercfg.exe"_s))
            QSKIP("it is here");
        QVERIFY(PowerPlanManager::listPlans().isEmpty());
        QCOMPARE(PowerPlanManager::activeScheme(), QString());
        QVERIFY(!PowerPlanManager::applyMaxCpu().ok);
        QVERIFY(!PowerPlanManager::isMaxCpuApplied());
    }

    void gameByPlace()
    {
        const QString folder = m_machine->scratchFile(u"Epic Games/some game/bin"_s);
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), folder + u"/x.exe"_s));
        QVERIFY(!detectRunningGame().found);
        QProcess game;
        game.start(folder + u"/x.exe"_s, {u"--wait"_s});
        QVERIFY(game.waitForStarted());
        const DetectedGame found = detectRunningGame();
        game.closeWriteChannel();
        QVERIFY(game.waitForFinished());
        QCOMPARE(found.title, u"Some Game"_s);
    }

    void cleaning()
    {
        const QString folder = m_machine->scratchFile(u"caches"_s);
        QVERIFY(makeFile(folder + u"/one"_s, 100));
        QVERIFY(makeFile(folder + u"/below/deeper/two"_s, 250));
        QVERIFY(makeFile(folder + u"/in use/three"_s, 7));
        const CleanCategory category{u"test"_s, {}, {}, {QDir::toNativeSeparators(folder)}};
        QCOMPARE(DebloatCleaner::scanSize(category), 357);
        const HANDLE user = CreateFileW(native(folder + u"/in use/three"_s), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                        OPEN_EXISTING, 0, nullptr);
        const CleanResult whileUsed = DebloatCleaner::clean(category);
        CloseHandle(user);
        QCOMPARE(whileUsed.bytesFreed, 350);
        QCOMPARE(whileUsed.itemsRemoved, 2);
        QCOMPARE(DebloatCleaner::scanSize(category), 7);
        QCOMPARE(DebloatCleaner::clean(category).itemsRemoved, 1);
        QVERIFY(QDir(folder).isEmpty());
    }

    void refusedFolders()
    {
        const QString canary = u"C:/windows/torvelane-canary/file"_s;
        QVERIFY(makeFile(canary, 1));
        for (const QString& path : {u"C:\\windows\\torvelane-canary"_s, u"c:/WINDOWS/Torvelane-Canary/"_s,
                                    u"C:\\Program Files\\..\\windows\\torvelane-canary"_s, u"C:\\windows"_s, u"C:\\"_s,
                                    u"\\windows\\torvelane-canary"_s})
            QCOMPARE(DebloatCleaner::clean({u"test"_s, {}, {}, {path}}).itemsRemoved, 0);
        QVERIFY(QFile::exists(canary));
        QVERIFY(QDir(u"C:/windows/torvelane-canary"_s).removeRecursively());
    }

    /// A link in the folder, which Wine shows as one where the machine below has it.
    void linkToAFolder()
    {
        const QTemporaryDir place(u"Z:/var/tmp/torvelane-link-XXXXXX"_s);
        if (!place.isValid() || !QFile::exists(u"Z:/bin/ln"_s))
            QSKIP("no links here");
        const QString link = place.filePath(u"caches/below/link"_s);
        QVERIFY(makeFile(place.filePath(u"outside/canary"_s), 1000));
        QVERIFY(makeFile(place.filePath(u"caches/below/file"_s), 5));
        QProcess::startDetached(u"Z:\\bin\\ln"_s, {u"-s"_s, place.filePath(u"outside"_s).sliced(2), link.sliced(2)});
        QTRY_VERIFY(QFile::exists(link));
        const CleanCategory category{u"test"_s, {}, {}, {QDir::toNativeSeparators(place.filePath(u"caches"_s))}};
        QCOMPARE(DebloatCleaner::scanSize(category), 5);
        QCOMPARE(DebloatCleaner::clean(category).bytesFreed, 0);
        QVERIFY(QFile::exists(place.filePath(u"outside/canary"_s)));
        QVERIFY(!QFile::exists(place.filePath(u"caches/below/file"_s)));
        // Nothing in Wine removes a link.
        QProcess::startDetached(u"Z:\\bin\\rm"_s, {link.sliced(2)});
        QTRY_VERIFY(!QFile::exists(link));
    }
};

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(u"--wait"_s))
        return waitForEndOfInput();
    tst_RealOptimizers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_RealOptimizers.moc"
