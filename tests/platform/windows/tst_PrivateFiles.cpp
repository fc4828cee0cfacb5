#include "platform/DirectoryProtection.h"
#include "platform/PrivateFiles.h"
#include "support/Suite.h"

#include <QThread>

#include <filesystem>

using namespace torvelane::platform;

namespace {

/// Tries to exchange a file and the folder that it lies in, as fast as it can, until it goes.
class Swapper {
public:
    explicit Swapper(const QString& path) : m_thread(QThread::create([this, path] { swap(path); }))
    {
        m_thread->start();
    }
    ~Swapper()
    {
        m_isEnding = true;
        m_thread->wait();
    }

    [[nodiscard]] bool triedOften() const { return m_rounds > 20; }
    [[nodiscard]] int wins() const { return m_wins; }

private:
    void swap(const QString& path)
    {
        const QString folder = QFileInfo(path).path();
        for (; !m_isEnding; ++m_rounds) {
            m_wins += QFile(path).open(QIODevice::ReadWrite | QIODevice::ExistingOnly);
            m_wins += QFile::rename(path, path + u".away"_s);
            m_wins += QDir().rename(folder, folder + u".away"_s);
            m_wins += QFile::remove(path);
        }
    }

    std::atomic_bool m_isEnding = false;
    std::atomic_int m_rounds = 0;
    std::atomic_int m_wins = 0;
    std::unique_ptr<QThread> m_thread;
};

} // namespace

/// The real sharing of files. Wine keeps no access lists, so that only what open files do is seen here.
class tst_PrivateFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nobodyExchangesWhatIsHeld()
    {
        const QTemporaryDir dir;
        const QString folder = dir.filePath(u"staging"_s);
        const QString path = folder + u"/archive"_s;
        QCOMPARE(createPrivateDirectory(folder), Win32Error::Success);
        const DirectoryHold folderHold = holdDirectory(folder);
        QVERIFY(folderHold);
        QFile file(path);
        QCOMPARE(createPrivateFile(path, file), Win32Error::Success);
        {
            const Swapper swapper(path);
            QTRY_VERIFY(swapper.triedOften());
            QCOMPARE(swapper.wins(), 0);
            QCOMPARE(file.write("content"), 7);
        }
        QVERIFY(!holdFile(path));
        file.close();
        FileHold hold = holdFile(path);
        QVERIFY(hold);
        {
            const Swapper swapper(path);
            QTRY_VERIFY(swapper.triedOften());
            QCOMPARE(swapper.wins(), 0);
            QFile reader(path);
            QVERIFY(reader.open(QIODevice::ReadOnly));
            QCOMPARE(reader.readAll(), QByteArray("content"));
        }
        hold.reset();
        QVERIFY(QFile::remove(path));
    }

    void takenNames()
    {
        const QTemporaryDir dir;
        QCOMPARE(createPrivateDirectory(dir.path()), Win32Error::AlreadyExists);
        QFile file;
        QCOMPARE(createPrivateFile(dir.filePath(u"a"_s), file), Win32Error::Success);
        QFile again;
        QCOMPARE(createPrivateFile(dir.filePath(u"a"_s), again), Win32Error::AlreadyExists);
        QCOMPARE(createPrivateFile(dir.filePath(u"no/b"_s), again), Win32Error::PathNotFound);
    }

    void ordinaryFiles()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(u"a"_s);
        QFile file;
        QCOMPARE(createPrivateFile(path, file), Win32Error::Success);
        file.close();
        QVERIFY(isOrdinaryFile(path));
        std::filesystem::create_hard_link(path.toStdWString(), dir.filePath(u"b"_s).toStdWString());
        QVERIFY(!isOrdinaryFile(path));
        QVERIFY(!isOrdinaryFile(dir.path()));
        QVERIFY(!holdFile(dir.path()));
    }

    void batchFile()
    {
        const QTemporaryDir dir;
        const QString folder = dir.filePath(u"a & b (c)"_s);
        QVERIFY(QDir().mkpath(folder));
        QFile script;
        QCOMPARE(createPrivateFile(folder + u"/d e.bat"_s, script), Win32Error::Success);
        script.write("@echo %~n0> made\r\n");
        script.close();
        QCOMPARE(startBatchFile(folder + u"/d e.bat"_s, dir.path()), Win32Error::Success);
        QFile made(dir.filePath(u"made"_s));
        QTRY_VERIFY_WITH_TIMEOUT(made.size() > 0, 20000);
        QVERIFY(made.open(QIODevice::ReadOnly));
        QCOMPARE(made.readAll().trimmed(), QByteArray("d e"));
    }
};

QTEST_GUILESS_MAIN(tst_PrivateFiles)
#include "tst_PrivateFiles.moc"
