#include "update/UpdateScript.h"

#include <QDir>

namespace torvelane {

namespace {

const QString guardService = QStringLiteral("TorvelaneGuard");

/// %1 new files, %2 installation, %3 staging folder, %4 process, %5 service.
constexpr auto scriptTemplate = R"(@echo off
@chcp 65001 >nul
set LOG=%TEMP%\torvelane_update.log
echo [%date% %time%] helper started; waiting for pid %4 >> "%LOG%"
powershell -NoProfile -Command "Wait-Process -Id %4 -ErrorAction SilentlyContinue" >nul 2>&1
set GUARD_WAS_RUNNING=0
sc query %5 | findstr /C:"RUNNING" >nul 2>&1 && set GUARD_WAS_RUNNING=1
if "%GUARD_WAS_RUNNING%"=="1" (
  echo [%date% %time%] stopping %5 for the copy >> "%LOG%"
  net stop %5 >nul 2>&1
)
echo [%date% %time%] copying new files >> "%LOG%"
robocopy "%1" "%2" /E /R:10 /W:1 /NP >> "%LOG%" 2>&1
set ROBO_ERR=0
if errorlevel 8 set ROBO_ERR=1
if "%GUARD_WAS_RUNNING%"=="1" net start %5 >nul 2>&1
if "%ROBO_ERR%"=="1" (
  echo [%date% %time%] ERROR: robocopy failed, app not relaunched >> "%LOG%"
) else (
  echo [%date% %time%] update ok, relaunching >> "%LOG%"
  start "" /D "%2" "%2\Torvelane.exe"
)
rd /s /q "%3" >nul 2>&1
(goto) 2>nul & del "%~f0"
)";

/// A path between quotes in a batch file.
QString quotable(const QString& path)
{
    QString text = QDir::toNativeSeparators(path);
    // A backslash before the quote at the end would be read as one with it.
    if (text.endsWith(QLatin1Char('\\')))
        text += QLatin1Char('.');
    // Otherwise what stands between two of them would be taken for a variable.
    return text.replace(QLatin1Char('%'), QLatin1String("%%"));
}

} // namespace

QByteArray updateScript(const UpdatePaths& paths, qint64 processId)
{
    // All at once, so that a name with %1 in it isn't read again.
    return QString::fromUtf8(scriptTemplate)
        .replace(QLatin1Char('\n'), QLatin1String("\r\n"))
        .arg(quotable(paths.source), quotable(paths.target), quotable(paths.staging), QString::number(processId),
             guardService)
        .toUtf8();
}

} // namespace torvelane
