#include "platform/Hardening.h"

#include "platform/windows/Owners.h"
#include "platform/windows/SystemDirectories.h"

#include <QStringList>

#include <array>
#include <cstdlib>
#include <cwchar>

#include <shlobj.h>

namespace torvelane::platform {

namespace {

// Through the C library, which hands it on to the system: Qt reads the one copy, children inherit the other. An empty
// value removes the variable.
void setVariable(const QString& name, const QString& value)
{
    _wputenv(wide(QString(name + QStringLiteral("=") + value)));
}

QStringList variableNames()
{
    QStringList names;
    const OwnedEnvironment block(GetEnvironmentStringsW());
    for (const wchar_t* entry = block.get(); entry && *entry; entry += std::wcslen(entry) + 1) {
        // "=C:" and the like, the current directories of the drives, begin with the sign.
        const QString text = QString::fromWCharArray(entry);
        const qsizetype end = text.indexOf(QChar(u'='));
        if (end > 0)
            names.append(text.left(end));
    }
    return names;
}

// Whether a variable may keep the value that it came with. All of them can be set below HKCU\Environment without
// elevation, and most that some library or runtime reads, today's or tomorrow's, make it load code or look for its parts
// elsewhere. So the harmless ones are listed, and those that setSystemVariables sets aren't.
bool isHarmless(const QString& name)
{
    static const QStringList names = {
        // Who and where: texts that nobody opens as a path.
        QStringLiteral("COMPUTERNAME"),
        QStringLiteral("LOGONSERVER"),
        QStringLiteral("NUMBER_OF_PROCESSORS"),
        QStringLiteral("OS"),
        QStringLiteral("PROCESSOR_ARCHITECTURE"),
        QStringLiteral("PROCESSOR_IDENTIFIER"),
        QStringLiteral("PROCESSOR_LEVEL"),
        QStringLiteral("PROCESSOR_REVISION"),
        QStringLiteral("SESSIONNAME"),
        QStringLiteral("USERDOMAIN"),
        QStringLiteral("USERDOMAIN_ROAMINGPROFILE"),
        QStringLiteral("USERNAME"),
        // Where the user wants temporary files; no system call names another place.
        QStringLiteral("TEMP"),
        QStringLiteral("TMP"),
        // Qt's for diagnosis and scaling. Whatever platform plug-in is asked for comes from our own directory.
        QStringLiteral("QT_FORCE_STDERR_LOGGING"),
        QStringLiteral("QT_LOGGING_RULES"),
        QStringLiteral("QT_QPA_PLATFORM"),
        QStringLiteral("QT_SCALE_FACTOR"),
        // Our own.
        QStringLiteral("TORVELANE_NO_CONNECTION_CHECK"),
        QStringLiteral("TORVELANE_NO_UPDATE"),
    };
    // Wine finds its own parts by these; to Windows and its programs they mean nothing.
    return names.contains(name, Qt::CaseInsensitive) || name.startsWith(QStringLiteral("WINE"));
}

void setKnownFolder(const QString& variable, const KNOWNFOLDERID& folder)
{
    OwnedTaskMemory<wchar_t> path;
    if (SUCCEEDED(SHGetKnownFolderPath(folder, KF_FLAG_DONT_VERIFY, nullptr, path.put())))
        setVariable(variable, QString::fromWCharArray(path.get()));
}

void setSystemVariables()
{
    const QString windows = windowsDirectory();
    const QString system = systemDirectory();
    if (windows.isEmpty() || system.isEmpty())
        return;
    const QString powerShell = system + QStringLiteral("\\WindowsPowerShell\\v1.0");
    // The drive first: the registry keeps the known folders' paths in terms of it.
    setVariable(QStringLiteral("SystemDrive"), windows.left(2));
    setVariable(QStringLiteral("SystemRoot"), windows);
    setVariable(QStringLiteral("windir"), windows);
    setVariable(QStringLiteral("ComSpec"), system + QStringLiteral("\\cmd.exe"));
    setVariable(QStringLiteral("PATHEXT"), QStringLiteral(".COM;.EXE;.BAT;.CMD;.VBS;.VBE;.JS;.JSE;.WSF;.WSH;.MSC"));
    // The tools that Torvelane asks for all ship with Windows. Any other folder may be one that the user can write to.
    setVariable(QStringLiteral("Path"),
                QStringList{system, windows, system + QStringLiteral("\\wbem"), powerShell}.join(QChar(u';')));
    setVariable(QStringLiteral("PSModulePath"), powerShell + QStringLiteral("\\Modules"));
    // The user's folders after the one that their paths begin with.
    setKnownFolder(QStringLiteral("USERPROFILE"), FOLDERID_Profile);
    setKnownFolder(QStringLiteral("APPDATA"), FOLDERID_RoamingAppData);
    setKnownFolder(QStringLiteral("LOCALAPPDATA"), FOLDERID_LocalAppData);
    setKnownFolder(QStringLiteral("PUBLIC"), FOLDERID_Public);
    setKnownFolder(QStringLiteral("ProgramData"), FOLDERID_ProgramData);
    setKnownFolder(QStringLiteral("ALLUSERSPROFILE"), FOLDERID_ProgramData);
    setKnownFolder(QStringLiteral("ProgramFiles"), FOLDERID_ProgramFilesX64);
    setKnownFolder(QStringLiteral("ProgramW6432"), FOLDERID_ProgramFilesX64);
    setKnownFolder(QStringLiteral("ProgramFiles(x86)"), FOLDERID_ProgramFilesX86);
    setKnownFolder(QStringLiteral("CommonProgramFiles"), FOLDERID_ProgramFilesCommonX64);
    setKnownFolder(QStringLiteral("CommonProgramW6432"), FOLDERID_ProgramFilesCommonX64);
    setKnownFolder(QStringLiteral("CommonProgramFiles(x86)"), FOLDERID_ProgramFilesCommonX86);
}

// g++ for Windows gives the memory of a thread_local back before it runs the destructor, and Qt keeps the stack of a
// compiled regular expression in one: a thread that had used any would end with an access violation. Interpreted
// expressions need no such stack. Qt looks once, before the first expression.
void interpretRegularExpressions()
{
    setVariable(QStringLiteral("QT_ENABLE_REGEXP_JIT"), QStringLiteral("0"));
}

// Windows makes the user or Administrators the owner of what an administrator creates, as the policy for default owners
// says. The owner distinguishes a file of ours from a planted one, so it is always Administrators, also for files that
// SQLite and Qt create. Without elevation the system refuses, and then nothing that is created is trusted later.
void createAsAdministrators()
{
    std::array<std::byte, SECURITY_MAX_SID_SIZE> administrators{};
    DWORD sizeBytes = SECURITY_MAX_SID_SIZE;
    OwnedHandle token;
    if (!CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators.data(), &sizeBytes)
        || !OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_DEFAULT, token.put())) {
        return;
    }
    TOKEN_OWNER owner{administrators.data()};
    SetTokenInformation(token.get(), TokenOwner, &owner, sizeof(owner));
}

} // namespace

void prepareProcess()
{
    // Libraries come from our own directory and the system's. Those that the executable names were loaded before this
    // line, from the same two directories, since the loader looks there first.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    // Takes the current directory from the search of programs that know nothing of the above: children inherit this.
    SetDllDirectoryW(L"");

    for (const QString& name : variableNames()) {
        if (!isHarmless(name))
            setVariable(name, QString());
    }
    setSystemVariables();
    interpretRegularExpressions();
    setVariable(QStringLiteral("NoDefaultCurrentDirectoryInExePath"), QStringLiteral("1"));
    SetCurrentDirectoryW(wide(systemDirectory()));
    createAsAdministrators();
}

} // namespace torvelane::platform
