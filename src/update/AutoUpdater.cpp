#include "update/AutoUpdater.h"

#include "core/Deployment.h"
#include "core/Log.h"
#include "net/WinHttpGet.h"
#include "update/UpdateSplash.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFutureWatcher>
#include <QGuiApplication>
#include <QPointer>
#include <QScreen>
#include <QtConcurrent>

namespace torvelane {

namespace {

const QString category = QStringLiteral("update");

constexpr quint32 feedTimeoutMs = 5000;

void info(const QString& text)
{
    logMessage(LogLevel::Info, category, text);
}

void warn(const QString& text)
{
    logMessage(LogLevel::Warn, category, text);
}

/// The latest release if it isn't the version at hand and can be fetched; otherwise the log says why not.
std::optional<Release> newRelease(const UpdateSettings& settings)
{
    info(QStringLiteral("Checking for updates (current %1)").arg(settings.currentVersion));
    QByteArray document;
    const HttpResult result = winHttpGet(settings.feedUrl, feedTimeoutMs, &document, nullptr, {}, category);
    if (!result.ok || result.status != 200) {
        warn(QStringLiteral("Update check unavailable (HTTP %1) — starting normally").arg(result.status));
        return std::nullopt;
    }
    Release release = parseRelease(document);
    if (release.version.isEmpty()) {
        warn(QStringLiteral("Release JSON has no tag_name — starting normally"));
        return std::nullopt;
    }
    if (isSameVersion(release.version, settings.currentVersion)) {
        info(QStringLiteral("Version matches the published release (%1) — no update").arg(release.tag));
        return std::nullopt;
    }
    for (const QString& name : std::as_const(release.refused))
        warn(QStringLiteral("Asset %1 passed over: its address isn't an https one").arg(name));
    if (release.archiveUrl.isEmpty()) {
        warn(QStringLiteral("Release %1 has no %2 asset — starting normally").arg(release.tag, archiveName));
        return std::nullopt;
    }
    if (release.signatureUrl.isEmpty()) {
        release.signatureUrl = release.archiveUrl + signatureSuffix;
        warn(QStringLiteral("No .minisig asset enumerated; will try ") + release.signatureUrl);
    }
    info(QStringLiteral("Updating %1 -> %2 from %3").arg(settings.currentVersion, release.version, release.archiveUrl));
    return release;
}

/// Runs `work` on another thread, while this one processes events.
bool runBesideEvents(const std::function<bool()>& work)
{
    QEventLoop loop;
    QFutureWatcher<bool> watcher;
    QObject::connect(&watcher, &QFutureWatcherBase::finished, &loop, &QEventLoop::quit);
    watcher.setFuture(QtConcurrent::run(work));
    loop.exec();
    return watcher.result();
}

} // namespace

bool AutoUpdater::checkAndUpdate()
{
    if (qEnvironmentVariableIsSet("TORVELANE_NO_UPDATE")) {
        info(QStringLiteral("TORVELANE_NO_UPDATE set — skipping update check"));
        return false;
    }
    if (!deployment::hasReleaseFeed) {
        info(QStringLiteral("This build has no release feed; update check skipped"));
        return false;
    }
    return checkAndUpdate({.feedUrl = deployment::releaseFeedUrl,
                           .publicKey = deployment::updatePublicKey,
                           .currentVersion = deployment::version,
                           .programFile = QCoreApplication::applicationFilePath(),
                           .temporaryDir = platform::commonTemporaryDirectory()});
}

bool AutoUpdater::checkAndUpdate(const UpdateSettings& settings)
{
    const std::optional<Release> release = newRelease(settings);
    if (!release)
        return false;

    // The user may close it, which changes nothing else.
    const QPointer<UpdateSplash> splash = new UpdateSplash(release->version);
    if (const QScreen* const screen = QGuiApplication::primaryScreen())
        splash->move(screen->geometry().center() - splash->rect().center());
    splash->show();
    const bool tookOver =
        runBesideEvents([settings, release = *release] { return UpdateInstaller(settings, release).run(); });
    delete splash;
    return tookOver;
}

} // namespace torvelane
