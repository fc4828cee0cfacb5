#include "update/UpdateInstaller.h"

#include "core/Log.h"
#include "net/WinHttpGet.h"
#include "platform/ChildProcess.h"
#include "update/ArchiveEntries.h"
#include "update/UpdateScript.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <utility>

namespace torvelane {

namespace {

using platform::ChildProcessResult;
using platform::ErrorOutput;
using platform::FileOwner;
using platform::Win32Error;

const QString category = QStringLiteral("update");

constexpr quint32 downloadTimeoutMs = 30000;
constexpr int startTimeoutMs = 5000;

/// Room for the listing of some 100,000 entries.
constexpr qsizetype maxListingBytes = 16LL * 1024 * 1024;

void info(const QString& text)
{
    logMessage(LogLevel::Info, category, text);
}

void error(const QString& text)
{
    logMessage(LogLevel::Error, category, text);
}

QString native(const QString& path)
{
    return QDir::toNativeSeparators(path);
}

/// Of the system's own tools by path only: a bare name would be searched for.
QString tarPath()
{
    const QString path = platform::systemToolPath(QStringLiteral("tar.exe"));
    return QFileInfo(path).isAbsolute() ? path : QString();
}

ChildProcessResult runTool(const QString& program, const QStringList& arguments, int finishTimeoutMs)
{
    if (program.isEmpty())
        return {};
    return platform::runChildProcess(
        {.program = program, .arguments = arguments, .nativeArguments = {}},
        {.startTimeoutMs = startTimeoutMs, .finishTimeoutMs = finishTimeoutMs, .outputLimitBytes = maxListingBytes},
        ErrorOutput::Separate);
}

/// Whether a tool was ended because it didn't come to its own end.
bool wasKilled(const ChildProcessResult& result)
{
    return result.outcome == ChildProcessResult::Outcome::NotStarted
        || result.outcome == ChildProcessResult::Outcome::TimedOut;
}

bool succeeded(const ChildProcessResult& result)
{
    return result.outcome == ChildProcessResult::Outcome::Finished && result.exitCode == 0;
}

/// The exit code and the beginning of what the tool said to it.
QString complaint(const QString& text, const ChildProcessResult& result, qsizetype length)
{
    return text.arg(QString::number(result.exitCode), QString::fromLocal8Bit(result.errorOutput).left(length));
}

bool isLink(const QFileInfo& entry)
{
    return entry.isSymbolicLink() || entry.isJunction();
}

/// Removes a file, a link itself, or a folder with all that is in it. @return whether it is gone
bool removeTree(const QFileInfo& entry)
{
    if (!entry.isDir() || isLink(entry))
        return QFile::remove(entry.filePath()) || QDir().rmdir(entry.filePath());
    bool all = true;
    const QFileInfoList entries =
        QDir(entry.filePath()).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo& below : entries)
        all = removeTree(below) && all;
    return QDir().rmdir(entry.filePath()) && all;
}

/// Makes way for a new file or folder. What another user or a program without elevation may have put there is left alone.
/// @return whether the name is free
bool clearOwn(const QString& path)
{
    switch (platform::fileOwner(path)) {
    case FileOwner::Privileged:
        return removeTree(QFileInfo(path));
    case FileOwner::Unknown:
        return true; // Whether it is free is seen when something is made there.
    case FileOwner::Other:
        break;
    }
    logMessage(LogLevel::Warn, category, QStringLiteral("Another program made %1; left as it is").arg(native(path)));
    return false;
}

} // namespace

UpdateInstaller::UpdateInstaller(UpdateSettings settings, Release release)
    : m_settings(std::move(settings))
    , m_release(std::move(release))
    , m_staging(m_settings.temporaryDir + QStringLiteral("/torvelane_update"))
    , m_extracted(m_staging + QStringLiteral("/extracted"))
    , m_archive(m_staging + QLatin1Char('/') + archiveName)
    , m_signature(m_archive + signatureSuffix)
{
}

bool UpdateInstaller::fail(const QString& text) const
{
    error(text + QStringLiteral(" — starting normally on current version"));
    return false;
}

bool UpdateInstaller::run()
{
    if (!prepareStaging())
        return fail(QStringLiteral("Cannot create staging dir ") + native(m_staging));
    if (!downloadArchive() || !downloadSignature())
        return false;
    const platform::FileHold hold = platform::holdFile(m_archive);
    if (!hold || !verifySignature())
        return fail(QStringLiteral("Update signature INVALID — refusing to install"));
    info(QStringLiteral("Update signature verified against the pinned key"));
    if (!listArchive())
        return fail(QStringLiteral("Update archive contains unsafe paths — refusing to install"));
    if (!extractArchive()) {
        // What fitted on the disk would fill it until the next update.
        std::ignore = removeTree(QFileInfo(m_extracted));
        return fail(QStringLiteral("Extraction failed"));
    }
    if (!checkUnpacked())
        return fail(QStringLiteral("Unpacked files differ from the archive's listing — refusing to install"));
    const QString payloadDir = findPayloadDir();
    if (payloadDir.isEmpty()) {
        return fail(QStringLiteral("Extracted zip does not contain ") + QFileInfo(m_settings.programFile).fileName());
    }
    if (!launchScript(payloadDir))
        return fail(QStringLiteral("Could not launch the updater script"));
    info(QStringLiteral("Updater launched — exiting so files can be replaced"));
    return true;
}

bool UpdateInstaller::prepareStaging()
{
    if (!clearOwn(m_staging) || platform::createPrivateDirectory(m_staging) != Win32Error::Success)
        return false;
    m_stagingHold = platform::holdDirectory(m_staging);
    return m_stagingHold && platform::createPrivateDirectory(m_extracted) == Win32Error::Success;
}

bool UpdateInstaller::downloadArchive()
{
    QFile file(m_archive);
    if (platform::createPrivateFile(m_archive, file) != Win32Error::Success)
        return fail(QStringLiteral("Cannot open for writing: ") + native(m_archive));
    const HttpResult result = winHttpGet(m_release.archiveUrl, downloadTimeoutMs, nullptr, &file, {}, category);
    if (!result.ok || result.status != 200)
        return fail(QStringLiteral("Download failed (HTTP %1)").arg(result.status));
    const qint64 size = file.size();
    file.close();
    info(QStringLiteral("Downloaded %1 (%2 bytes)").arg(native(m_archive), QString::number(size)));
    return true;
}

bool UpdateInstaller::downloadSignature()
{
    QFile file(m_signature);
    if (platform::createPrivateFile(m_signature, file) != Win32Error::Success)
        return fail(QStringLiteral("Cannot open for writing: ") + native(m_signature));
    // Through memory, where much less than an archive is taken.
    QByteArray signature;
    const HttpResult result = winHttpGet(m_release.signatureUrl, downloadTimeoutMs, &signature, nullptr, {}, category);
    if (!result.ok || result.status != 200)
        return fail(QStringLiteral("Signature download failed (HTTP %1)").arg(result.status));
    if (file.write(signature) != signature.size())
        return fail(QStringLiteral("Disk write failed: ") + file.errorString());
    file.close();
    info(QStringLiteral("Downloaded signature ") + native(m_signature));
    return true;
}

bool UpdateInstaller::verifySignature() const
{
    const QString tool = QFileInfo(m_settings.programFile).dir().filePath(QStringLiteral("minisign.exe"));
    if (!QFileInfo::exists(tool)) {
        error(QStringLiteral("minisign.exe not found beside the app — refusing to install an unverifiable update: ")
              + native(tool));
        return false;
    }
    const ChildProcessResult result =
        runTool(tool,
                {QStringLiteral("-V"), QStringLiteral("-q"), QStringLiteral("-m"), native(m_archive),
                 QStringLiteral("-x"), native(m_signature), QStringLiteral("-P"), m_settings.publicKey},
                m_settings.toolTimeoutMs);
    if (wasKilled(result)) {
        error(QStringLiteral("minisign.exe did not run to completion"));
        return false;
    }
    if (!succeeded(result))
        error(complaint(QStringLiteral("minisign verification FAILED (exit %1): %2"), result, 300));
    return succeeded(result);
}

bool UpdateInstaller::listArchive()
{
    const ChildProcessResult result =
        runTool(tarPath(), {QStringLiteral("-tf"), native(m_archive)}, m_settings.toolTimeoutMs);
    if (wasKilled(result) || result.outputIsCut) {
        error(QStringLiteral("Could not list archive entries for path validation"));
        return false;
    }
    if (!succeeded(result)) {
        error(QStringLiteral("tar -tf failed while listing archive entries"));
        return false;
    }
    m_entries = listedEntries(QString::fromLocal8Bit(result.output));
    if (const QString unsafe = firstUnsafeEntry(m_entries); !unsafe.isEmpty()) {
        error(QStringLiteral("Refusing archive with unsafe path (zip-slip): ") + unsafe);
        return false;
    }
    if (const QString odd = firstOddEntry(m_entries); !odd.isEmpty()) {
        error(QStringLiteral("Refusing archive with a name that Windows wouldn't keep: ") + odd);
        return false;
    }
    info(QStringLiteral("Archive path check OK (%1 entries)").arg(m_entries.size()));
    return true;
}

bool UpdateInstaller::extractArchive() const
{
    const QString tool = tarPath();
    if (tool.isEmpty()) {
        error(QStringLiteral("tar.exe not found: ") + platform::systemToolPath(QStringLiteral("tar.exe")));
        return false;
    }
    const ChildProcessResult result =
        runTool(tool, {QStringLiteral("-xf"), native(m_archive), QStringLiteral("-C"), native(m_extracted)},
                4 * m_settings.toolTimeoutMs);
    if (wasKilled(result))
        error(QStringLiteral("tar.exe did not finish in time"));
    else if (!succeeded(result))
        error(complaint(QStringLiteral("tar.exe failed (exit %1): %2"), result, 400));
    return succeeded(result);
}

bool UpdateInstaller::checkUnpacked() const
{
    const QString difference = unpackedDifference(m_extracted, m_entries);
    if (!difference.isEmpty())
        error(QStringLiteral("Refusing what was unpacked: ") + difference);
    return difference.isEmpty();
}

QString UpdateInstaller::findPayloadDir() const
{
    const QString fileName = QFileInfo(m_settings.programFile).fileName();
    const QDir dir(m_extracted);
    if (QFileInfo(dir.filePath(fileName)).isFile())
        return m_extracted;
    const QStringList folders = dir.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
    if (folders.size() == 1 && QFileInfo(QDir(dir.filePath(folders[0])).filePath(fileName)).isFile())
        return dir.filePath(folders[0]);
    return {};
}

bool UpdateInstaller::launchScript(const QString& payloadDir) const
{
    const QString path = m_settings.temporaryDir + QStringLiteral("/torvelane_update.bat");
    const QByteArray text = updateScript(
        {.source = payloadDir, .target = QFileInfo(m_settings.programFile).absolutePath(), .staging = m_staging},
        QCoreApplication::applicationPid());
    QFile script(path);
    if (!clearOwn(path) || platform::createPrivateFile(path, script) != Win32Error::Success
        || script.write(text) != text.size()) {
        error(QStringLiteral("Cannot write ") + native(path));
        return false;
    }
    script.close();
    const Win32Error code = platform::startBatchFile(path, m_settings.temporaryDir);
    if (code != Win32Error::Success) {
        error(QStringLiteral("CreateProcess for updater failed (%1)").arg(platform::toNumber(code)));
        QFile::remove(path);
    }
    return code == Win32Error::Success;
}

} // namespace torvelane
