#include "platform/ProcessSettings.h"

#include "platform/windows/Owners.h"
#include "platform/windows/SystemDirectories.h"

#include <QStringList>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include <io.h>
#include <lmcons.h>
#include <objbase.h>
#include <shlobj.h>
#include <timeapi.h>

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
    wchar_t* const block = GetEnvironmentStringsW();
    for (const wchar_t* entry = block; entry && *entry; entry += std::wcslen(entry) + 1) {
        // "=C:" and the like, the current directories of the drives, begin with the sign.
        const QString text = QString::fromWCharArray(entry);
        const qsizetype end = text.indexOf(QChar(u'='));
        if (end > 0)
            names.append(text.left(end));
    }
    FreeEnvironmentStringsW(block);
    return names;
}

// Whether a variable makes this program or one of its tools load code, or find its own parts elsewhere. All of these
// can be set below HKCU\Environment without elevation, and are in force after it.
bool isSteering(const QString& name)
{
    // Qt's variables are many and grow with each version, so that the harmless ones are listed: what diagnoses, and
    // scales. Whatever platform plug-in is asked for comes from our own directory.
    static const QStringList harmlessQtNames = {
        QStringLiteral("QT_FORCE_STDERR_LOGGING"),
        QStringLiteral("QT_LOGGING_RULES"),
        QStringLiteral("QT_QPA_PLATFORM"),
        QStringLiteral("QT_SCALE_FACTOR"),
    };
    // Profilers and start-up hooks that the .NET runtime loads into every managed program, PowerShell among them.
    static const QStringList prefixes = {
        QStringLiteral("QT_"),      QStringLiteral("QML"),      QStringLiteral("COR_"),
        QStringLiteral("CORECLR_"), QStringLiteral("COMPlus_"), QStringLiteral("DOTNET_"),
    };
    if (harmlessQtNames.contains(name, Qt::CaseInsensitive))
        return false;
    for (const QString& prefix : prefixes) {
        if (name.startsWith(prefix, Qt::CaseInsensitive))
            return true;
    }
    return name.compare(QStringLiteral("__COMPAT_LAYER"), Qt::CaseInsensitive) == 0;
}

void setKnownFolder(const QString& variable, const KNOWNFOLDERID& folder)
{
    PWSTR path = nullptr;
    if (SUCCEEDED(SHGetKnownFolderPath(folder, KF_FLAG_DONT_VERIFY, nullptr, &path)))
        setVariable(variable, QString::fromWCharArray(path));
    CoTaskMemFree(path);
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
    setKnownFolder(QStringLiteral("ProgramData"), FOLDERID_ProgramData);
    setKnownFolder(QStringLiteral("ALLUSERSPROFILE"), FOLDERID_ProgramData);
    setKnownFolder(QStringLiteral("ProgramFiles"), FOLDERID_ProgramFilesX64);
    setKnownFolder(QStringLiteral("ProgramW6432"), FOLDERID_ProgramFilesX64);
    setKnownFolder(QStringLiteral("ProgramFiles(x86)"), FOLDERID_ProgramFilesX86);
}

// Whether the stream was redirected by whoever started us. A console handle doesn't count: without a console of our own
// it leads nowhere until it is opened anew.
bool isRedirected(FILE* stream)
{
    const int descriptor = _fileno(stream);
    if (descriptor < 0)
        return false;
    auto* const handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    switch (handle ? GetFileType(handle) : FILE_TYPE_UNKNOWN) {
    case FILE_TYPE_DISK:
    case FILE_TYPE_PIPE:
        return true;
    case FILE_TYPE_CHAR: {
        DWORD mode = 0;
        return !GetConsoleMode(handle, &mode); // NUL, or a serial line
    }
    default:
        return false;
    }
}

void reopenOnConsole(FILE* stream, const char* device, const char* mode)
{
    if (isRedirected(stream))
        return;
    FILE* reopened = nullptr;
    freopen_s(&reopened, device, mode, stream);
}

UINT parentOutputCodePage = 0;

} // namespace

void prepareProcess()
{
    // Libraries come from our own directory and the system's. Those that the executable names were loaded before this
    // line, from the same two directories, since the loader looks there first.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    // Takes the current directory from the search of programs that know nothing of the above: children inherit this.
    SetDllDirectoryW(L"");

    for (const QString& name : variableNames()) {
        if (isSteering(name))
            setVariable(name, QString());
    }
    setSystemVariables();
    setVariable(QStringLiteral("NoDefaultCurrentDirectoryInExePath"), QStringLiteral("1"));
    SetCurrentDirectoryW(wide(systemDirectory()));
}

void prepareForCommandLine()
{
    // Windows needs no display to be chosen away: a verb makes no window.
}

void setAppUserModelId(const QString& id)
{
    SetCurrentProcessExplicitAppUserModelID(wide(id));
}

void beginTimerPeriod(unsigned periodMs)
{
    timeBeginPeriod(periodMs);
}

void endTimerPeriod(unsigned periodMs)
{
    timeEndPeriod(periodMs);
}

bool isElevated()
{
    HANDLE handle = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &handle))
        return false;
    const OwnedHandle token(handle);
    TOKEN_ELEVATION elevation{};
    DWORD sizeBytes = 0;
    return GetTokenInformation(token.get(), TokenElevation, &elevation, sizeof(elevation), &sizeBytes)
        && elevation.TokenIsElevated != 0;
}

void attachParentConsole()
{
    if (!AttachConsole(ATTACH_PARENT_PROCESS))
        return;
    // The console reads our bytes in its own code page, and keeps a new one after our end.
    parentOutputCodePage = GetConsoleOutputCP();
    if (SetConsoleOutputCP(CP_UTF8))
        std::atexit([] { SetConsoleOutputCP(parentOutputCodePage); });
    reopenOnConsole(stdin, "CONIN$", "r");
    reopenOnConsole(stdout, "CONOUT$", "w");
    reopenOnConsole(stderr, "CONOUT$", "w");
}

QString currentUserName()
{
    std::array<wchar_t, UNLEN + 1> name{};
    auto length = static_cast<DWORD>(name.size());
    return GetUserNameW(name.data(), &length) ? QString::fromWCharArray(name.data()) : QString();
}

} // namespace torvelane::platform
