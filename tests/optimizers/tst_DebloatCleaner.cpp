#include "optimizers/DebloatCleaner.h"
#include "platform/simulated/files/Drive.h"
#include "support/simulated/Suite.h"

#include <QDirIterator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using platform::simulated::hostPath;

namespace {

const QString temp = u"C:\\Users\\Alex\\AppData\\Local\\Temp"_s;

CleanCategory category(const QString& key)
{
    const QList<CleanCategory> all = DebloatCleaner::categories();
    return *std::ranges::find(all, key, &CleanCategory::key);
}

/// A file with as many bytes, and the folders on the way.
void put(const QString& windowsPath, qsizetype sizeBytes)
{
    const QString path = hostPath(windowsPath);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(sizeBytes, 'x')) != sizeBytes)
        qFatal("A file could not be made");
}

void empty(const QString& windowsPath)
{
    QDir(hostPath(windowsPath)).removeRecursively();
    QDir().mkpath(hostPath(windowsPath));
}

QStringList below(const QString& windowsPath)
{
    QStringList found;
    QDirIterator it(hostPath(windowsPath), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        found.append(it.next().mid(hostPath(windowsPath).size() + 1));
    found.sort();
    return found;
}

CleanCategory folderOf(const QString& path)
{
    return {u"test"_s, {}, {}, {path}, false};
}

} // namespace

/// Cleaning on the simulated PC's drive, which is a folder of real files.
class tst_DebloatCleaner : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void everyCategoryFreesWhatItsScanPromised()
    {
        for (const CleanCategory& one : DebloatCleaner::categories()) {
            const qint64 promised = DebloatCleaner::scanSize(one);
            QVERIFY2(promised > 0, qPrintable(one.key));
            const CleanResult result = DebloatCleaner::clean(one);
            QCOMPARE(result.bytesFreed, promised);
            QVERIFY2(result.itemsRemoved > 0, qPrintable(one.key));
            QCOMPARE(DebloatCleaner::scanSize(one), 0);
            for (const QString& path : one.paths)
                QVERIFY2(QFileInfo(hostPath(path)).isDir() || !QFileInfo::exists(hostPath(path)), qPrintable(path));
        }
        QVERIFY(QFile::exists(hostPath(u"C:\\Users\\Alex\\Documents\\letter.txt"_s)));
        QVERIFY(QFile::exists(hostPath(u"C:\\Windows\\System32\\drivers\\etc\\hosts"_s)));
        QCOMPARE(DebloatCleaner::clean(category(u"recycle"_s)).itemsRemoved, 0);
    }

    void whatCounts()
    {
        empty(temp);
        put(temp + u"\\one.tmp"_s, 100);
        put(temp + u"\\folder\\two.tmp"_s, 200);
        put(temp + u"\\folder\\deep\\three.tmp"_s, 300);
        put(temp + u"\\.hidden"_s, 7);
        const QByteArray notText = QFile::encodeName(hostPath(temp)) + "/\xff\xfe.bin";
        QCOMPARE(::close(::creat(notText.constData(), 0400)), 0);
        const QString deep = temp + u'\\' + QStringList(40, u"abcdefgh"_s).join(u'\\');
        put(deep + u"\\file"_s, 5);

        const CleanCategory one = folderOf(temp);
        QCOMPARE(DebloatCleaner::scanSize(one), 612);
        const CleanResult result = DebloatCleaner::clean(one);
        QCOMPARE(result.bytesFreed, 612);
        QCOMPARE(result.itemsRemoved, 5);
        QCOMPARE(below(temp), QStringList());
        QVERIFY(QFileInfo(hostPath(temp)).isDir());
    }

    void refusedFolders()
    {
        const QString hosts = u"C:\\Windows\\System32\\drivers\\etc\\hosts"_s;
        const QString letter = u"C:\\Users\\Alex\\Documents\\letter.txt"_s;
        QVERIFY(QFile::link(hostPath(u"C:\\Users\\Alex\\Documents"_s), hostPath(u"C:\\Users\\Alex\\link"_s)));
        QVERIFY(QFile::link(hostPath(u"C:\\Windows"_s), hostPath(u"C:\\Users\\Alex\\way"_s)));
        put(u"C:\\Temp\\canary"_s, 10);
        put(u"C:\\Program Files\\Torvelane\\readme.txt"_s, 10);
        for (const auto& [path, canary] :
             {std::pair(u"\\Temp"_s, u"C:\\Temp\\canary"_s),
              {u"  "_s, letter},
              {u"C:\\Nowhere"_s, letter},
              {u"C:\\Users\\Alex\\link"_s, letter},
              {u"C:\\"_s, letter},
              {u"C:\\Windows"_s, hosts},
              {u"C:\\Windows\\System32"_s, hosts},
              {u"C:\\Windows\\SoftwareDistribution"_s, hosts}, // a cleanable folder's neighbour
              {u"C:\\Program Files\\Torvelane"_s, u"C:\\Program Files\\Torvelane\\readme.txt"_s},
              {u"C:\\Users\\Alex\\way\\System32"_s, hosts},
              {u"C:\\Users\\Alex\\..\\..\\Windows\\System32"_s, hosts}}) {
            const CleanResult result = DebloatCleaner::clean(folderOf(path));
            QCOMPARE(result.itemsRemoved, 0);
            QCOMPARE(result.bytesFreed, 0);
            QVERIFY2(QFile::exists(hostPath(canary)), qPrintable(path));
        }
    }

    /// Links of every kind below a folder go themselves, and nothing behind them is counted or touched.
    void linksAreNotFollowed()
    {
        empty(temp);
        const QString canary = u"C:\\Users\\Alex\\Documents\\letter.txt"_s;
        const qint64 size = QFileInfo(hostPath(canary)).size();
        QDir().mkpath(hostPath(temp + u"\\inner"_s));
        QVERIFY(QFile::link(hostPath(u"C:\\Users\\Alex\\Documents"_s), hostPath(temp + u"\\toFolder"_s)));
        QVERIFY(QFile::link(hostPath(u"C:\\Users\\Alex\\Documents"_s), hostPath(temp + u"\\inner\\toFolder"_s)));
        QVERIFY(QFile::link(hostPath(canary), hostPath(temp + u"\\inner\\toFile"_s)));
        QVERIFY(QFile::link(u"/nowhere"_s, hostPath(temp + u"\\dangling"_s)));
        QCOMPARE(DebloatCleaner::scanSize(folderOf(temp)), 0);
        const CleanResult result = DebloatCleaner::clean(folderOf(temp));
        QCOMPARE(result.bytesFreed, 0);
        QCOMPARE(result.itemsRemoved, 3);
        QCOMPARE(below(temp), QStringList());
        QCOMPARE(QFileInfo(hostPath(canary)).size(), size);
    }

    /// Another program puts a link in the place of a folder, over and over, while it is being cleaned.
    void aSwappedFolderIsNotEntered()
    {
        empty(temp);
        const QString documents = hostPath(u"C:\\Users\\Alex\\Documents"_s);
        for (int i = 0; i < 60; ++i)
            put(u"C:\\Users\\Alex\\Documents\\%1.txt"_s.arg(i), 10);
        const QStringList before = below(u"C:\\Users\\Alex\\Documents"_s);
        const QByteArray place = QFile::encodeName(hostPath(temp)) + "/victim";
        const QByteArray aside = QFile::encodeName(hostPath(u"C:\\Users\\Alex"_s)) + "/aside";
        const QByteArray file = place + "/file";
        const QByteArray movedFile = aside + "/file";
        std::atomic_bool stop = false;
        std::atomic_int swaps = 0;
        std::thread attacker([&] {
            while (!stop) {
                ::mkdir(place.constData(), 0700);
                ::close(::creat(file.constData(), 0600));
                ::rename(place.constData(), aside.constData());
                if (::symlink(QFile::encodeName(documents).constData(), place.constData()) == 0)
                    ++swaps;
                ::unlink(movedFile.constData());
                ::rmdir(aside.constData());
                ::unlink(place.constData());
            }
        });
        for (int round = 0; round < 400 || swaps < 50; ++round) {
            std::ignore = DebloatCleaner::scanSize(folderOf(temp));
            std::ignore = DebloatCleaner::clean(folderOf(temp));
        }
        stop = true;
        attacker.join();
        QCOMPARE(below(u"C:\\Users\\Alex\\Documents"_s), before);
    }

    void unsetVariables()
    {
        put(u"C:\\Prefetch\\canary"_s, 10);
        SimulatedPc::setValue(u"files/folders/SystemRoot"_s, QJsonValue(QJsonValue::Undefined));
        SimulatedPc::setValue(u"files/folders/TEMP"_s, QJsonValue(QJsonValue::Undefined));
        QCOMPARE(category(u"temp"_s).paths, QStringList({QString(), u"\\Temp"_s}));
        QCOMPARE(DebloatCleaner::scanSize(category(u"prefetch"_s)), 10);
        QCOMPARE(DebloatCleaner::clean(category(u"prefetch"_s)).itemsRemoved, 0);
        QVERIFY(QFile::exists(hostPath(u"C:\\Prefetch\\canary"_s)));
        QCOMPARE(DebloatCleaner::clean(category(u"temp"_s)).itemsRemoved, 0);
    }
};

QTEST_GUILESS_MAIN(tst_DebloatCleaner)
#include "tst_DebloatCleaner.moc"
