#include "platform/Hardening.h"

#include "platform/windows/Owners.h"
#include "platform/windows/SystemDirectories.h"

#include <QStringList>

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
    setKnownFolder(QStringLiteral("ProgramData"), FOLDERID_ProgramData);
    setKnownFolder(QStringLiteral("ALLUSERSPROFILE"), FOLDERID_ProgramData);
    setKnownFolder(QStringLiteral("ProgramFiles"), FOLDERID_ProgramFilesX64);
    setKnownFolder(QStringLiteral("ProgramW6432"), FOLDERID_ProgramFilesX64);
    setKnownFolder(QStringLiteral("ProgramFiles(x86)"), FOLDERID_ProgramFilesX86);
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
        if (isSteering(name))
            setVariable(name, QString());
    }
    setSystemVariables();
    setVariable(QStringLiteral("NoDefaultCurrentDirectoryInExePath"), QStringLiteral("1"));
    SetCurrentDirectoryW(wide(systemDirectory()));
}

} // namespace torvelane::platform
