#include "optimizers/DebloatCleaner.h"
#include "optimizers/NetworkOptimizer.h"
#include "support/Suite.h"
#include "support/windows/Native.h"

namespace {

constexpr auto hklm = platform::RootKey::LocalMachine;

bool makeFile(const QString& path, qsizetype sizeBytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly)
        && file.write(QByteArray(sizeBytes, 'x')) == sizeBytes;
}

} // namespace

/// A driver's values and cleaning through the real registry and folders; what holds other values is in tst_Ledger.
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
        NetAdapter adapter;
        adapter.guid = u"{0}"_s;
        adapter.pnpDeviceId = u"NO\\SUCH\\DEVICE"_s;
        adapter.regSubKey = scratchKey;
        adapter.netEnabled = true;
        QVERIFY(NetworkOptimizer().apply(adapter).ok);
        for (const RawValue& value : scratchImage(hklm))
            QCOMPARE(value, (RawValue{1, utf16(u"0"_s)}));
        QVERIFY(NetworkOptimizer().restoreAll().ok);
        QCOMPARE(scratchImage(hklm), before);
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

QTEST_GUILESS_MAIN(tst_RealOptimizers)
#include "tst_RealOptimizers.moc"
