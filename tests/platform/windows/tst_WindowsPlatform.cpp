#include "platform/ChildProcess.h"
#include "platform/ProcessSettings.h"
#include "platform/ProcessTree.h"
#include "platform/Registry.h"
#include "platform/SecretBox.h"
#include "platform/SystemTools.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <span>

#include <windows.h>

#include <dpapi.h>

using namespace torvelane::platform;

namespace {

const QString scratchKey = QStringLiteral("Software\\Torvelane\\WindowsPlatformTest");

/// What this program does when a test starts it as a child.
namespace role {

const QString beat = QStringLiteral("--beat");               ///< Lets a file grow while its folder is there.
const QString leaveBeating = QStringLiteral("--leave");      ///< Starts one that beats and ends at once.
const QString holdAndCrash = QStringLiteral("--hold-crash"); ///< Starts one that beats, in a tree, and crashes.
const QString showEnvironment = QStringLiteral("--show");    ///< Prepares itself and prints what a child then sees.

} // namespace role

QString ownPath()
{
    return QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
}

qint64 beatsIn(const QString& folder)
{
    return QFileInfo(folder + QStringLiteral("/beat")).size();
}

int beat(const QString& folder)
{
    constexpr int maximumBeats = 400; // nobody outlives a failed test for long
    for (int i = 0; i < maximumBeats; ++i) {
        QFile file(folder + QStringLiteral("/beat"));
        if (!file.open(QIODevice::Append))
            break;
        file.write("x");
        file.close();
        QThread::msleep(50);
    }
    return 0;
}

int holdAndCrash(const QString& folder)
{
    QProcess child;
    ProcessTree tree;
    tree.prepare(child);
    child.start(ownPath(), {role::leaveBeating, folder});
    if (!child.waitForStarted())
        return 1;
    tree.adopt(child);
    child.waitForFinished();
    while (beatsIn(folder) == 0)
        QThread::msleep(10);
    TerminateProcess(GetCurrentProcess(), 3); // no destructor runs
    return 0;
}

int showEnvironment()
{
    prepareProcess();
    const ChildProcessResult result = runChildProcess(shellCommand(QStringLiteral("set & echo cwd=%CD%")));
    std::fwrite(result.output.constData(), 1, static_cast<std::size_t>(result.output.size()), stdout);
    for (const QString& path : QCoreApplication::libraryPaths())
        std::printf("plugins=%s\n", qPrintable(path));
    return 0;
}

QByteArray shellOutput(const QString& command)
{
    return runChildProcess(shellCommand(command)).output.replace("\r\n", "\n").trimmed();
}

/// Whether nobody beats in the folder for longer than several beats take.
bool isSilent(const QString& folder)
{
    const qint64 before = beatsIn(folder);
    QTest::qWait(500);
    return beatsIn(folder) == before;
}

} // namespace

/// What only the real machine can show; the suites beside this folder run on it as well.
class tst_WindowsPlatform : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void shellReadsTheCommandAsWritten_data();
    void shellReadsTheCommandAsWritten();
    void shellHandsQuotedKeysOn();
    void toolsComeFromTheSystemDirectory();

    void bytesAreStoredAsTheyAre();

    void killedTreeLeavesNobody();
    void releasedTreeLeavesWhatItStarted();
    void crashEndsTheTree();

    void damagedSecretIsRefused();
    void secretOfAnotherProgramIsRefused();

    void preparedProcessCannotBeSteered();
    void protectedDirectoryStaysUsable();
    void missingDirectoryIsNotProtected();
};

void tst_WindowsPlatform::cleanup()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, reinterpret_cast<const wchar_t*>(scratchKey.utf16()));
}

void tst_WindowsPlatform::shellReadsTheCommandAsWritten_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QByteArray>("output");

    QTest::newRow("quotes inside") << QStringLiteral("echo \"two  words\" and \"one\"")
                                   << QByteArray("\"two  words\" and \"one\"");
    QTest::newRow("quotes at both ends")
        << QStringLiteral("\"%1\" /c \"echo inner\"").arg(systemToolPath(QStringLiteral("cmd.exe")))
        << QByteArray("inner");
    QTest::newRow("two commands") << QStringLiteral("echo one&echo two") << QByteArray("one\ntwo");
    QTest::newRow("sign within quotes") << QStringLiteral("echo \"one & two\"") << QByteArray("\"one & two\"");
    QTest::newRow("variable") << QStringLiteral("echo %TORVELANE_SHELL_TEST%") << QByteArray("value of it");
}

void tst_WindowsPlatform::shellReadsTheCommandAsWritten()
{
    QFETCH(const QString, command);
    QFETCH(const QByteArray, output);
    qputenv("TORVELANE_SHELL_TEST", "value of it");
    QCOMPARE(shellOutput(command), output);
}

void tst_WindowsPlatform::shellHandsQuotedKeysOn()
{
    const QString path = scratchKey + QStringLiteral("\\{86ca1aa0-34aa-4e8b-a509-50c905bae2a2}\\with a blank");
    shellOutput(QStringLiteral("reg add \"HKCU\\%1\" /f /ve").arg(path));
    RegistryKey key;
    QCOMPARE(RegistryKey::open(RootKey::CurrentUser, path, RegistryAccess::Read, key), codeSuccess);
    quint32 type = regNone;
    quint32 sizeBytes = 0;
    QCOMPARE(key.querySize(QString(), type, sizeBytes), codeSuccess);
    QCOMPARE(type, quint32(regSz));
}

void tst_WindowsPlatform::toolsComeFromTheSystemDirectory()
{
    QTemporaryDir planted;
    QVERIFY(QFile::copy(ownPath(), planted.filePath(QStringLiteral("cmd.exe"))));
    const QString before = QDir::currentPath();
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QDir::toNativeSeparators(planted.path()).toLocal8Bit());
    QDir::setCurrent(planted.path());

    const QString found = systemToolPath(QStringLiteral("cmd.exe"));

    QDir::setCurrent(before);
    qputenv("PATH", path);
    QVERIFY2(found.endsWith(QStringLiteral("\\system32\\cmd.exe"), Qt::CaseInsensitive), qPrintable(found));
    QCOMPARE(systemToolPath(QStringLiteral("no-such-tool.exe")), QStringLiteral("no-such-tool.exe"));
}

// A text whose end is no NUL, with one right behind it in memory.
void tst_WindowsPlatform::bytesAreStoredAsTheyAre()
{
    const char16_t text[] = u"abc";
    const std::span<const std::byte> unended = std::as_bytes(std::span(text)).first(3 * sizeof(char16_t));
    for (const quint32 type : {regSz, regExpandSz, regMultiSz}) {
        RegistryKey key;
        QCOMPARE(RegistryKey::create(RootKey::CurrentUser, scratchKey, key), codeSuccess);
        QCOMPARE(key.setValue(QStringLiteral("Text"), type, unended), codeSuccess);
        QCOMPARE(RegistryKey::open(RootKey::CurrentUser, scratchKey, RegistryAccess::Read, key), codeSuccess);
        quint32 stored = regNone;
        quint32 sizeBytes = 0;
        QCOMPARE(key.querySize(QStringLiteral("Text"), stored, sizeBytes), codeSuccess);
        QCOMPARE(stored, type);
        QCOMPARE(sizeBytes, quint32(unended.size()));
    }
}

void tst_WindowsPlatform::killedTreeLeavesNobody()
{
    QTemporaryDir dir;
    QProcess process;
    ProcessTree tree;
    tree.prepare(process);
    process.start(ownPath(), {role::leaveBeating, dir.path()});
    QVERIFY(process.waitForStarted());
    tree.adopt(process);
    QVERIFY(process.waitForFinished()); // the parent is gone already, the one that it started beats
    QTRY_VERIFY(beatsIn(dir.path()) > 0);

    tree.killAll();

    QVERIFY(isSilent(dir.path()));
}

void tst_WindowsPlatform::releasedTreeLeavesWhatItStarted()
{
    QTemporaryDir dir;
    {
        QProcess process;
        ProcessTree tree;
        tree.prepare(process);
        process.start(ownPath(), {role::leaveBeating, dir.path()});
        QVERIFY(process.waitForStarted());
        tree.adopt(process);
        QVERIFY(process.waitForFinished());
        QTRY_VERIFY(beatsIn(dir.path()) > 0);
        tree.release();
    }
    QVERIFY(!isSilent(dir.path()));
}

void tst_WindowsPlatform::crashEndsTheTree()
{
    QTemporaryDir dir;
    QCOMPARE(QProcess::execute(ownPath(), {role::holdAndCrash, dir.path()}), 3);
    QVERIFY(beatsIn(dir.path()) > 0);
    QVERIFY(isSilent(dir.path()));
}

void tst_WindowsPlatform::damagedSecretIsRefused()
{
    const QByteArray secret("a session token");
    QByteArray cipher;
    QVERIFY(protectSecret(secret, cipher));
    QVERIFY(!cipher.contains(secret));
    QByteArray out;
    for (qsizetype i = 0; i < cipher.size(); ++i) {
        QByteArray damaged = cipher;
        damaged[i] = static_cast<char>(damaged[i] ^ 1);
        out = "left over";
        QVERIFY2(!unprotectSecret(damaged, out) && out.isEmpty(), qPrintable(QStringLiteral("byte %1").arg(i)));
    }
    QVERIFY(!unprotectSecret(cipher.left(cipher.size() / 2), out));
    QVERIFY(!unprotectSecret(QByteArray(), out));
}

void tst_WindowsPlatform::secretOfAnotherProgramIsRefused()
{
    QByteArray plain("planted token");
    DATA_BLOB in{static_cast<DWORD>(plain.size()), reinterpret_cast<BYTE*>(plain.data())};
    DATA_BLOB blob{};
    QVERIFY(CryptProtectData(&in, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &blob));
    const QByteArray foreign(reinterpret_cast<const char*>(blob.pbData), static_cast<qsizetype>(blob.cbData));
    LocalFree(blob.pbData);
    const QByteArray planted = QCryptographicHash::hash(foreign, QCryptographicHash::Sha256) + foreign;
    QByteArray out;
    QVERIFY(!unprotectSecret(planted, out));
}

void tst_WindowsPlatform::preparedProcessCannotBeSteered()
{
    QTemporaryDir hostile;
    const QString evil = QDir::toNativeSeparators(hostile.path());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {QStringLiteral("QT_PLUGIN_PATH"), QStringLiteral("QT_QPA_PLATFORM_PLUGIN_PATH"),
                                QStringLiteral("QT_QPA_GENERIC_PLUGINS"), QStringLiteral("COR_PROFILER_PATH"),
                                QStringLiteral("ComSpec"), QStringLiteral("PSModulePath"), QStringLiteral("windir"),
                                QStringLiteral("ProgramData"), QStringLiteral("PATHEXT")}) {
        environment.insert(name, evil);
    }
    // Behind what the child's own libraries are found by.
    environment.insert(QStringLiteral("PATH"), environment.value(QStringLiteral("PATH")) + QLatin1Char(';') + evil);
    QProcess child;
    child.setProcessEnvironment(environment);
    child.setWorkingDirectory(evil);
    child.start(ownPath(), {role::showEnvironment});
    QVERIFY(child.waitForFinished());
    const QString seen = QString::fromLocal8Bit(child.readAllStandardOutput());

    QVERIFY2(seen.contains(QStringLiteral("NoDefaultCurrentDirectoryInExePath=1")), qPrintable(seen));
    QVERIFY2(seen.contains(QStringLiteral("cwd=C:\\windows\\system32"), Qt::CaseInsensitive), qPrintable(seen));
    QVERIFY2(seen.contains(QStringLiteral("ComSpec=C:\\windows\\system32\\cmd.exe"), Qt::CaseInsensitive),
             qPrintable(seen));
    for (const QString& line : seen.split(QStringLiteral("\r\n"))) {
        // Wine's own note of where the program was started.
        if (!line.startsWith(QStringLiteral("WINE")))
            QVERIFY2(!line.contains(hostile.path(), Qt::CaseInsensitive) && !line.contains(evil, Qt::CaseInsensitive),
                     qPrintable(line));
    }
}

void tst_WindowsPlatform::protectedDirectoryStaysUsable()
{
    QTemporaryDir dir;
    const QString place = dir.filePath(QStringLiteral("machine"));
    const QString file = place + QStringLiteral("/below/enforcement.dat");
    QVERIFY(QDir().mkpath(place + QStringLiteral("/below")));
    for (int round = 0; round < 2; ++round) {
        QSaveFile save(file);
        QVERIFY2(save.open(QIODevice::WriteOnly), qPrintable(save.errorString()));
        save.write("x");
        QVERIFY2(save.commit(), qPrintable(save.errorString()));
        QVERIFY(protectDirectory(place));
    }
    QVERIFY(QDir(place).removeRecursively());
}

void tst_WindowsPlatform::missingDirectoryIsNotProtected()
{
    QVERIFY(!protectDirectory(QStringLiteral("C:\\no such directory")));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString wanted = arguments.value(1);
    if (wanted == role::beat)
        return beat(arguments.value(2));
    if (wanted == role::leaveBeating)
        return QProcess::startDetached(ownPath(), {role::beat, arguments.value(2)}) ? 0 : 1;
    if (wanted == role::holdAndCrash)
        return holdAndCrash(arguments.value(2));
    if (wanted == role::showEnvironment)
        return showEnvironment();
    tst_WindowsPlatform test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_WindowsPlatform.moc"
