#include "app/AppContext.h"
#include "app/DataDirectory.h"
#include "core/Log.h"
#include "platform/DirectoryProtection.h"
#include "support/simulated/Suite.h"

#include <sys/stat.h>

using platform::fileOwner;
using platform::FileOwner;

namespace {

const QString tweak = u"opt.disable-network-throttling"_s;

QString inDataDir(const QString& name)
{
    return QDir(Paths::dataDir()).filePath(name);
}

/// As a program without elevation would leave a file.
void makeForeign(const QString& path)
{
    if (chmod(QFile::encodeName(path).constData(), S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH) != 0)
        qFatal("Nothing to plant");
}

void plant(const QString& name, const QByteArray& content = "planted")
{
    QFile file(inDataDir(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("Nothing to plant");
    file.close();
    makeForeign(file.fileName());
}

/// A store that has recovery write into HKLM.
void plantStore()
{
    StateStore store;
    const QJsonObject entry{{u"hive"_s, u"HKLM"_s}, {u"path"_s, u"SOFTWARE\\Planted"_s}, {u"name"_s, u"Run"_s},
                            {u"exists"_s, true},    {u"valueType"_s, u"dword"_s},        {u"number"_s, 1}};
    if (!store.open(Paths::stateDb())
        || !store.beginApply(tweak, Tier::Free, {{u"type"_s, u"registry"_s}, {u"entries"_s, QJsonArray{entry}}}))
        qFatal("Nothing to plant");
    store.close();
    makeForeign(Paths::stateDb());
}

QStringList start()
{
    closeLogging(); // a new process opens the log anew
    const LogCapture log;
    AppContext context;
    if (!context.init())
        return {u"not started"_s};
    return log.lines().filter(u"[WARN] app"_s);
}

QStringList heldDirectories()
{
    QStringList targets;
    for (const QFileInfo& descriptor : QDir(u"/proc/self/fd"_s).entryInfoList(QDir::Files | QDir::Dirs | QDir::System))
        targets.append(descriptor.symLinkTarget());
    return targets;
}

/// Torvelane itself, started where new files are readable for all, as the machine's policy may want it.
struct Program : QProcess {
    Program(const TestMachine& machine, const QStringList& arguments)
    {
        setEnvironment(QProcess::systemEnvironment() + machine.childEnvironment());
        setChildProcessModifier([] { umask(0); });
        start(QStringLiteral(TORVELANE_PROGRAM), arguments);
        if (!waitForFinished())
            qFatal("The program hangs");
    }
};

} // namespace

/// Whose files the program believes. On the simulated PC a file that only the user can read stands for one of
/// Administrators'.
class tst_DataDirectory : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void laterStartSetsAside()
    {
        for (const QString& name : {u"state.db"_s, u"state.db-wal"_s, u"token.bin"_s, u"network_opt.json"_s}) {
            m_machine.emplace();
            QCOMPARE(start(), QStringList());
            QFile::remove(inDataDir(name));
            plant(name);
            const QStringList lines = start();
            const QStringList names = DataDirectory::setAsideNames();
            QCOMPARE(names.size(), 1);
            QVERIFY(names[0].startsWith(name + u".set-aside-"_s));
            QCOMPARE(lines, QStringList(u"[WARN] app: Another program made %1; set aside as %2"_s.arg(name, names[0])));
            QFile aside(inDataDir(names[0]));
            QVERIFY(aside.open(QIODevice::ReadOnly));
            QCOMPARE(aside.readAll(), QByteArray("planted"));
            QCOMPARE(start(), QStringList());
            const QString status = QString::fromUtf8(Program(*m_machine, {u"status"_s}).readAllStandardOutput());
            QVERIFY2(status.endsWith(u"\n  Set aside:      "_s + names[0] + u'\n'), qPrintable(status));
        }
    }

    /// Renamed away and replaced, by another directory or a link to one, it brings no captured row into the registry.
    void exchangedDirectory()
    {
        for (const bool isLink : {false, true}) {
            m_machine.emplace();
            QCOMPARE(start(), QStringList());
            const MachineImage before = TestMachine::image();
            const QString original = Paths::dataDir();
            QVERIFY(QDir().rename(original, m_machine->scratchFile(u"away"_s)));
            const QString planted = isLink ? m_machine->scratchFile(u"planted"_s) : original;
            QVERIFY(QDir().mkpath(planted));
            if (isLink)
                QVERIFY(QFile::link(planted, original));
            makeForeign(planted);
            QVERIFY(QFile::setPermissions(planted, QFile::permissions(planted) | QFile::ExeOwner | QFile::ExeOther));
            plantStore();

            QVERIFY(start().size() > 0);
            QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
            QVERIFY(!QFileInfo(original).isSymLink());
            QCOMPARE(fileOwner(original), FileOwner::Privileged);
            QVERIFY(DataDirectory::setAsideNames().size() > 0);
            if (isLink)
                QVERIFY(QFile::exists(QDir(planted).filePath(u"state.db"_s)));
        }
    }

    /// What an earlier version has left holds originals, whoever owns it.
    void firstStartBelieves()
    {
        plantStore();
        QCOMPARE(start(), QStringList());
        QCOMPARE(DataDirectory::setAsideNames(), QStringList());
        QCOMPARE(differences({}, TestMachine::image()).filter(u"hklm\\software\\planted"_s).size(), 1);
        for (const QFileInfo& entry : QDir(Paths::dataDir()).entryInfoList(QDir::Files))
            QVERIFY2(fileOwner(entry.filePath()) == FileOwner::Privileged, qPrintable(entry.fileName()));
    }

    void ownFilesAreNeverSetAside()
    {
        const MachineImage before = TestMachine::image();
        SimulatedPc::kill(u"registry"_s, platform::CallMoment::After);
        QCOMPARE(Program(*m_machine, {u"apply"_s, tweak}).exitStatus(), QProcess::CrashExit);
        SimulatedPc::clearFaults();
        QVERIFY(QFile::exists(inDataDir(u"state.db-wal"_s)));
        QVERIFY(QFile::exists(inDataDir(u"token.bin"_s)));
        for (const QFileInfo& entry : QDir(Paths::dataDir()).entryInfoList(QDir::Files | QDir::Hidden))
            QVERIFY2(fileOwner(entry.filePath()) == FileOwner::Privileged, qPrintable(entry.fileName()));
        QCOMPARE(Program(*m_machine, {u"login"_s, u"Ada"_s, u"pro"_s}).exitCode(), 0);
        QCOMPARE(start(), QStringList());
        QCOMPARE(DataDirectory::setAsideNames(), QStringList());
        QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
    }

    /// Without a note that others can't write, own files and planted ones look alike, and everything is believed.
    void unwritableNote()
    {
        QFile blocked(Paths::machineDataDir());
        QVERIFY(QDir().mkpath(QFileInfo(blocked).path()));
        QVERIFY(blocked.open(QIODevice::WriteOnly));
        plant(u"token.bin"_s);
        for (int i = 0; i < 2; ++i)
            QCOMPARE(start().filter(u"Files of other programs"_s).size(), 1);
        QCOMPARE(DataDirectory::setAsideNames(), QStringList());
    }

    void heldAsLongAsTheContextLives()
    {
        const QString parent = QFileInfo(Paths::dataDir()).path();
        {
            AppContext context;
            QVERIFY(context.init());
            QVERIFY(heldDirectories().contains(Paths::dataDir()));
            QVERIFY(heldDirectories().contains(parent));
        }
        QVERIFY(!heldDirectories().contains(Paths::dataDir()));
        QVERIFY(!heldDirectories().contains(parent));
    }

    void withoutElevation()
    {
        SimulatedPc::setValue(u"user/elevated"_s, false);
        const QString status = QString::fromUtf8(Program(*m_machine, {u"status"_s}).readAllStandardOutput());
        QVERIFY2(status.contains(u"\n  Elevated:       no\n"_s), qPrintable(status));
    }
};

QTEST_GUILESS_MAIN(tst_DataDirectory)
#include "tst_DataDirectory.moc"
