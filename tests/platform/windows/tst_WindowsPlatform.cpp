#include "core/JsonFile.h"
#include "platform/Arguments.h"
#include "platform/ChildProcess.h"
#include "platform/Console.h"
#include "platform/ConsoleText.h"
#include "platform/DirectoryProtection.h"
#include "platform/Elevation.h"
#include "platform/Hardening.h"
#include "platform/SecretBox.h"
#include "support/Suite.h"
#include "support/windows/Native.h"

#include <QCryptographicHash>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <map>

#include <aclapi.h>
#include <dpapi.h>
#include <sddl.h>

using namespace torvelane::platform;

namespace {

/// What this program does and says as the child of a test; `arguments` is the whole command line.
QByteArray outputOfSelf(const QStringList& arguments, const std::function<void(QProcess&)>& prepare = {})
{
    QProcess child;
    if (prepare)
        prepare(child);
    child.start(QCoreApplication::applicationFilePath(), arguments);
    return child.waitForFinished() ? child.readAllStandardOutput() : QByteArray("(hangs)");
}

/// Prepares itself and prints what its children then see.
int showEnvironment()
{
    prepareProcess();
    const ChildProcessResult result = runChildProcess(shellCommand(u"set & echo cwd=%CD%"_s));
    std::fwrite(result.output.constData(), 1, static_cast<std::size_t>(result.output.size()), stdout);
    for (const QString& path : QCoreApplication::libraryPaths())
        std::printf("plugins=%s\n", qPrintable(path));
    return 0;
}

/// Prepares itself and uses a regular expression on a thread that ends.
int matchOnAThread()
{
    prepareProcess();
    std::atomic_int matched = 0;
    // Many at a time, so that what one gives back too early is another's by the time it is used.
    for (int round = 0; round < 20; ++round) {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 20; ++i) {
            threads.emplace_back(
                [&matched] { matched += QRegularExpression(u"b(.)d"_s).match(u"abcd"_s).hasMatch() ? 1 : 0; });
        }
    }
    std::printf("%d matched", matched.load());
    return 0;
}

/// Attaches to its parent's console and waits there for Ctrl+C.
int waitOnTheParentsConsole()
{
    SetConsoleCtrlHandler(nullptr, FALSE); // the parent may have been made deaf to Ctrl+C, which is inherited
    attachParentConsole();
    Sleep(20000);
    return 0;
}

/// On a console of its own, presses Ctrl+C while a child of the window subsystem writes there. Prints the console's code
/// page before, during and after.
int pressControlC()
{
    SetConsoleOutputCP(850);
    const UINT before = GetConsoleOutputCP();
    QProcess child;
    child.setCreateProcessArgumentsModifier([](QProcess::CreateProcessArguments* arguments) {
        arguments->flags = (arguments->flags & ~static_cast<unsigned long>(CREATE_NO_WINDOW)) | DETACHED_PROCESS;
    });
    child.start(QCoreApplication::applicationFilePath(), {u"--attach"_s});
    for (int i = 0; i < 500 && GetConsoleOutputCP() == before; ++i)
        Sleep(20);
    const UINT meanwhile = GetConsoleOutputCP();
    SetConsoleCtrlHandler(nullptr, TRUE); // Ctrl+C reaches all on the console
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    child.waitForFinished();
    std::printf("%u %u %u", before, meanwhile, GetConsoleOutputCP());
    return 0;
}

/// The exit code of this program, started with a token that has lost its administrators' rights.
std::optional<DWORD> exitCodeWithoutElevation(const QString& option)
{
    HANDLE own = nullptr;
    TOKEN_LINKED_TOKEN linked{};
    DWORD size = 0;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own)
        || !GetTokenInformation(own, TokenLinkedToken, &linked, sizeof(linked), &size))
        return std::nullopt;
    HANDLE primary = nullptr;
    DuplicateTokenEx(linked.LinkedToken, TOKEN_ALL_ACCESS, nullptr, SecurityImpersonation, TokenPrimary, &primary);
    QString line = QDir::toNativeSeparators(QCoreApplication::applicationFilePath()) + u' ' + option;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessAsUserW(primary, nullptr, reinterpret_cast<wchar_t*>(line.data()), nullptr, nullptr, FALSE, 0,
                              nullptr, nullptr, &startup, &process))
        return std::nullopt;
    WaitForSingleObject(process.hProcess, 20000);
    DWORD code = 99;
    GetExitCodeProcess(process.hProcess, &code);
    return code;
}

/// The access list of a file or directory in its text form.
QString accessList(const QString& path)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    wchar_t* text = nullptr;
    GetNamedSecurityInfoW(native(QDir::toNativeSeparators(path)), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                          nullptr, nullptr, nullptr, &descriptor);
    ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text,
                                                         nullptr);
    const QString list = text ? QString::fromWCharArray(text) : QString();
    LocalFree(text);
    LocalFree(descriptor);
    return list;
}

bool renames(const QString& from, const QString& to)
{
    return MoveFileW(native(QDir::toNativeSeparators(from)), native(QDir::toNativeSeparators(to)));
}

} // namespace

/// For the real machine only; the suites beside this folder run on it as well.
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

    /// A tool's own bytes, which are neither UTF-8 nor those of the ANSI code page.
    void shellsOutput()
    {
        QCOMPARE(runChildProcess(shellCommand(u"\"cmd\" /c \"echo inner\""_s)).output, QByteArray("inner\r\n"));
        const QByteArray bytes = runChildProcess(shellCommand(u"echo caf\u00e9"_s)).output;
        QVERIFY(bytes != QByteArray("caf\xc3\xa9\r\n"));
        QCOMPARE(decodeConsoleText(bytes), u"caf\u00e9\r\n"_s);
        QCOMPARE(decodeConsoleText({}), QString());
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
              u"COR_PROFILER_PATH"_s, u"ComSpec"_s, u"PSModulePath"_s, u"windir"_s, u"ProgramData"_s, u"PATHEXT"_s,
              u"OPENSSL_CONF"_s, u"TORVELANE_ANYTHING"_s, u"USERPROFILE"_s, u"LOCALAPPDATA"_s}) {
            environment.insert(name, evil);
        }
        environment.insert(u"TORVELANE_NO_UPDATE"_s, u"kept"_s);
        // Behind the place of the child's own libraries.
        environment.insert(u"PATH"_s, environment.value(u"PATH"_s) + u';' + evil);
        const QString seen = QString::fromLocal8Bit(outputOfSelf({u"--show-environment"_s}, [&](QProcess& child) {
            child.setProcessEnvironment(environment);
            child.setWorkingDirectory(evil);
        }));
        for (const QString& line : {u"NoDefaultCurrentDirectoryInExePath=1"_s, u"TORVELANE_NO_UPDATE=kept"_s,
                                    u"cwd=C:\\windows\\system32"_s, u"ComSpec=C:\\windows\\system32\\cmd.exe"_s})
            QVERIFY2(seen.contains(line, Qt::CaseInsensitive), qPrintable(seen));
        for (const QString& line : seen.split(u"\r\n"_s)) {
            // Wine's own note of where the program was started.
            if (!line.startsWith(u"WINE"_s))
                QVERIFY2(!QDir::fromNativeSeparators(line).contains(hostile.path(), Qt::CaseInsensitive),
                         qPrintable(line));
        }
    }

    void argumentsAreTheSystems()
    {
        const QStringList given{u"--show-arguments"_s, u"\u00e9\u65e5 x"_s, u"-platformpluginpath"_s, u"a\"b\\"_s, {}};
        QCOMPARE(QString::fromUtf8(outputOfSelf(given)), given.join(u'|'));
    }

    void threadsThatUsedAnExpressionEnd() { QCOMPARE(outputOfSelf({u"--expression"_s}), QByteArray("400 matched")); }

    /// As a backup does for a moment. Who took it for lost would capture its own values as the originals.
    void fileThatSomebodyHasToHimself()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"a.json"_s);
        QCOMPARE(JsonFile::write(path, {{u"a"_s, 1}}), JsonFile::WriteError::None);
        const HANDLE backup = CreateFileW(native(path), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        QVERIFY(backup != INVALID_HANDLE_VALUE);
        QVERIFY(!QFile(path).open(QIODevice::ReadOnly));
        const std::jthread leaving([backup] {
            Sleep(300);
            CloseHandle(backup);
        });
        QCOMPARE(JsonFile::read(path, 100).object, QJsonObject({{u"a"_s, 1}}));
    }

    void elevation()
    {
        QVERIFY(isElevated());
        QCOMPARE(exitCodeWithoutElevation(u"--elevation"_s), std::optional<DWORD>(0));
    }

    void heldDirectoryStays()
    {
        const QTemporaryDir above;
        const QString held = above.filePath(u"held"_s);
        const QString elsewhere = above.filePath(u"elsewhere"_s);
        QVERIFY(QDir().mkdir(held));
        DirectoryHold hold = holdDirectory(held);
        QVERIFY(hold);
        QVERIFY(!renames(held, elsewhere));
        QVERIFY(!renames(above.path(), above.path() + u"-elsewhere"_s));
        QVERIFY(!QDir().rmdir(held));
        QFile inside(held + u"/file"_s);
        QVERIFY(inside.open(QIODevice::WriteOnly));
        inside.close();
        QVERIFY(inside.remove());
        hold.reset();
        QVERIFY(renames(held, elsewhere));
        QVERIFY(!holdDirectory(held));
    }

    void protectedDirectory()
    {
        const QTemporaryDir scratch;
        const QString directory = scratch.filePath(u"data"_s);
        QVERIFY(QDir().mkpath(directory + u"/below"_s));
        QFile file(directory + u"/below/file"_s);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        QVERIFY(protectDirectory(directory));
        QVERIFY(protectContents(directory));
        for (const QString& path : {directory, file.fileName()}) {
            const QString list = accessList(path);
            QVERIFY2(list.contains(u";;;SY)"_s), qPrintable(list));
            for (const QString& others : {u";;;WD)"_s, u";;;BU)"_s, u";;;AU)"_s})
                QVERIFY2(!list.contains(others), qPrintable(list));
        }
        QVERIFY(!protectDirectory(scratch.filePath(u"missing"_s)));
    }

    void codePageAfterControlC()
    {
        const auto hideConsole = [](QProcess& console) {
            console.setCreateProcessArgumentsModifier(
                [](QProcess::CreateProcessArguments* arguments) { arguments->flags |= CREATE_NO_WINDOW; });
        };
        QCOMPARE(outputOfSelf({u"--console"_s}, hideConsole), QByteArray("850 65001 850"));
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = programArguments(argc, argv);
    if (arguments.value(1) == u"--show-arguments") {
        const QByteArray text = arguments.mid(1).join(u'|').toUtf8();
        std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
        return 0;
    }
    const std::map<QString, int (*)()> roles{{u"--show-environment"_s, showEnvironment},
                                             {u"--expression"_s, matchOnAThread},
                                             {u"--elevation"_s, [] { return isElevated() ? 1 : 0; }},
                                             {u"--console"_s, pressControlC},
                                             {u"--attach"_s, waitOnTheParentsConsole}};
    if (const auto role = roles.find(arguments.value(1)); role != roles.end())
        return role->second();
    tst_WindowsPlatform test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_WindowsPlatform.moc"
