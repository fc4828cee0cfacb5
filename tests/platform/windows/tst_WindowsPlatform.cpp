#include "platform/ChildProcess.h"
#include "platform/Hardening.h"
#include "platform/SecretBox.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

#include <windows.h>

#include <dpapi.h>

using namespace Qt::StringLiterals;
using namespace torvelane::platform;

namespace {

/// Has this program prepare itself and print what its children then see.
const QString showOption = u"--show-environment"_s;

int showEnvironment()
{
    prepareProcess();
    const ChildProcessResult result = runChildProcess(shellCommand(u"set & echo cwd=%CD%"_s));
    std::fwrite(result.output.constData(), 1, static_cast<std::size_t>(result.output.size()), stdout);
    for (const QString& path : QCoreApplication::libraryPaths())
        std::printf("plugins=%s\n", qPrintable(path));
    return 0;
}

} // namespace

/// What only the real machine can show; the suites beside this folder run on it as well.
class tst_WindowsPlatform : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void toolsComeFromTheSystemDirectory()
    {
        const QTemporaryDir planted;
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), planted.filePath(u"cmd.exe"_s)));
        const QString before = QDir::currentPath();
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QDir::toNativeSeparators(planted.path()).toLocal8Bit());
        QDir::setCurrent(planted.path());
        const QString found = systemToolPath(u"cmd.exe"_s);
        QDir::setCurrent(before);
        qputenv("PATH", path);
        QCOMPARE(found.toLower(), u"c:\\windows\\system32\\cmd.exe"_s);
    }

    void shellKeepsTheCommandsOuterQuotes()
    {
        QCOMPARE(runChildProcess(shellCommand(u"\"cmd\" /c \"echo inner\""_s)).output, QByteArray("inner\r\n"));
    }

    void secretOfAnotherProgramIsRefused()
    {
        QByteArray plain("planted token");
        DATA_BLOB in{static_cast<DWORD>(plain.size()), reinterpret_cast<BYTE*>(plain.data())};
        DATA_BLOB blob{};
        QVERIFY(CryptProtectData(&in, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &blob));
        const QByteArray foreign(reinterpret_cast<const char*>(blob.pbData), static_cast<qsizetype>(blob.cbData));
        LocalFree(blob.pbData);
        QByteArray out("left over");
        QVERIFY(!unprotectSecret(QCryptographicHash::hash(foreign, QCryptographicHash::Sha256) + foreign, out));
        QCOMPARE(out, QByteArray());
    }

    void preparedProcessCannotBeSteered()
    {
        const QTemporaryDir hostile;
        const QString evil = QDir::toNativeSeparators(hostile.path());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString& name :
             {u"QT_PLUGIN_PATH"_s, u"QT_QPA_PLATFORM_PLUGIN_PATH"_s, u"QT_QPA_GENERIC_PLUGINS"_s,
              u"COR_PROFILER_PATH"_s, u"ComSpec"_s, u"PSModulePath"_s, u"windir"_s, u"ProgramData"_s, u"PATHEXT"_s}) {
            environment.insert(name, evil);
        }
        // Behind what the child's own libraries are found by.
        environment.insert(u"PATH"_s, environment.value(u"PATH"_s) + u';' + evil);
        QProcess child;
        child.setProcessEnvironment(environment);
        child.setWorkingDirectory(evil);
        child.start(QCoreApplication::applicationFilePath(), {showOption});
        QVERIFY(child.waitForFinished());
        const QString seen = QString::fromLocal8Bit(child.readAllStandardOutput());

        for (const QString& line : {u"NoDefaultCurrentDirectoryInExePath=1"_s, u"cwd=C:\\windows\\system32"_s,
                                    u"ComSpec=C:\\windows\\system32\\cmd.exe"_s})
            QVERIFY2(seen.contains(line, Qt::CaseInsensitive), qPrintable(seen));
        for (const QString& line : seen.split(u"\r\n"_s)) {
            // Wine's own note of where the program was started.
            if (!line.startsWith(u"WINE"_s))
                QVERIFY2(!QDir::fromNativeSeparators(line).contains(hostile.path(), Qt::CaseInsensitive),
                         qPrintable(line));
        }
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(showOption))
        return showEnvironment();
    tst_WindowsPlatform test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_WindowsPlatform.moc"
