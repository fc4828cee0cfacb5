#include "measure/SpeedTester.h"

#include "core/Deployment.h"
#include "core/Log.h"
#include "net/UserAgent.h"
#include "platform/HttpGet.h"

#include <QNetworkReply>
#include <QSslConfiguration>
#include <QtConcurrentRun>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <numeric>

namespace torvelane {

namespace {

constexpr int streams = 16;
constexpr int sampleIntervalMs = 200;
constexpr qsizetype payloadBytes = 0x8000000;
constexpr quint16 httpsPort = 443;

/// From this many samples on, the first is left out: the line was warming up.
constexpr qsizetype samplesWithWarmUp = 4;

/// What a stream may hold before it is dropped, for a thread that is busy elsewhere. A stream that reaches it is slowed
/// down, as Qt then copies what it receives.
constexpr qint64 streamBufferBytes = 64 * 1024 * 1024;

double mbps(qint64 bytes, qint64 elapsedMs)
{
    if (elapsedMs <= 0)
        return 0.0;
    return static_cast<double>(bytes) * 8.0 / (static_cast<double>(elapsedMs) / 1000.0) / 1e6;
}

} // namespace

SpeedTester::SpeedTester(QObject* parent)
    : SpeedTester(QUrl(QStringLiteral("https://") + deployment::speedTestHost), Durations(), parent)
{
}

SpeedTester::SpeedTester(const QUrl& endpoint, const Durations& durations, QObject* parent)
    : QObject(parent)
    , m_endpoint(endpoint)
    , m_durations(durations)
{
    m_phaseTimer.setSingleShot(true);
    m_sampleTimer.setInterval(sampleIntervalMs);
    connect(&m_phaseTimer, &QTimer::timeout, this, &SpeedTester::abortAll);
    connect(&m_sampleTimer, &QTimer::timeout, this, &SpeedTester::onSampleTick);
    connect(&m_pingWatcher, &QFutureWatcherBase::finished, this, [this] {
        const PingStats stats = m_pingWatcher.result();
        Q_EMIT pingReady(stats.avgMs, stats.jitterMs, stats.lossPct);
        startPhase(Mode::Download);
    });
}

SpeedTester::~SpeedTester()
{
    if (m_pingStop)
        *m_pingStop = true;
    abortStreams();
}

bool SpeedTester::start()
{
    if (m_running)
        return false;
    m_running = true;
    Q_EMIT phaseChanged(QStringLiteral("Ping"));
    m_pingStop = std::make_shared<std::atomic_bool>(false);
    m_pingWatcher.setFuture(
        QtConcurrent::run(pingHost, m_endpoint.host(), static_cast<quint16>(m_endpoint.port(httpsPort)), m_pingStop));
    return true;
}

void SpeedTester::startPhase(Mode mode)
{
    m_mode = mode;
    Q_EMIT phaseChanged(mode == Mode::Upload ? QStringLiteral("Upload") : QStringLiteral("Download"));
    m_totalBytes = m_completedUploadBytes = m_sentInFlightBytes = 0;
    m_phaseFinished = false;
    m_httpStatus = 0;
    m_errorText.clear();
    m_samples.clear();
    m_lastSampleBytes = m_lastSampleMs = 0;
    if (mode == Mode::Upload) {
        // Nobody writes to it, so that Linux has one page of zeros behind all of it.
        m_payload = {static_cast<char*>(std::calloc(payloadBytes, 1)), &std::free};
        if (!m_payload)
            qBadAlloc();
    }
    m_clock.start();
    m_phaseTimer.start(mode == Mode::Upload ? m_durations.uploadMs : m_durations.downloadMs);
    m_sampleTimer.start();
    for (std::size_t i = 0; i < streams; ++i)
        startStream(m_managers[i % m_managers.size()]);
}

void SpeedTester::startStream(QNetworkAccessManager& manager)
{
    QUrl url = m_endpoint;
    url.setPath(m_mode == Mode::Upload ? QStringLiteral("/__up") : QStringLiteral("/__down"));
    if (m_mode == Mode::Download)
        url.setQuery(QStringLiteral("bytes=90000000"));
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::UserAgentHeader, userAgent());
    if (url.scheme() == QStringLiteral("https"))
        request.setSslConfiguration(platform::machineTlsConfiguration());
    QNetworkReply* reply = nullptr;
    if (m_mode == Mode::Upload) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/octet-stream"));
        request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
        reply = manager.post(request, QByteArray::fromRawData(m_payload.get(), payloadBytes));
        // The reply reads from it, and goes later than the phase ends.
        connect(reply, &QObject::destroyed, reply, [payload = m_payload] {});
        connect(reply, &QNetworkReply::uploadProgress, this,
                [this, reply](qint64 sentBytes) { onUploaded(reply, sentBytes); });
    } else {
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
        reply = manager.get(request);
        reply->setReadBufferSize(streamBufferBytes);
        connect(reply, &QNetworkReply::readyRead, this, [this, reply] { onDownloaded(reply); });
    }
    connect(reply, &QNetworkReply::finished, this, [this, reply] { onStreamFinished(reply); });
    m_replies.append(reply);
}

void SpeedTester::onDownloaded(QNetworkReply* reply)
{
    // All that there is, without copying it; as much as that, so that the reply finds its buffer empty.
    m_totalBytes += std::max<qint64>(reply->skip(std::numeric_limits<qint64>::max()), 0);
    Q_EMIT downloadProgress(mbps(m_totalBytes, m_clock.elapsed()));
}

void SpeedTester::onUploaded(QNetworkReply* reply, qint64 sentBytes)
{
    // At the end of a request Qt reports 0 of 0, which says nothing about it.
    qint64& sent = m_uploadSent[reply];
    if (sentBytes <= sent)
        return;
    m_sentInFlightBytes += sentBytes - sent;
    sent = sentBytes;
    m_totalBytes = uploadTotal();
    Q_EMIT uploadProgress(mbps(m_totalBytes, m_clock.elapsed()));
}

void SpeedTester::onSampleTick()
{
    if (m_phaseFinished)
        return;
    const qint64 nowMs = m_clock.elapsed();
    const qint64 bytes = phaseBytes();
    if (nowMs > m_lastSampleMs && bytes > m_lastSampleBytes)
        m_samples.append(mbps(bytes - m_lastSampleBytes, nowMs - m_lastSampleMs));
    m_lastSampleBytes = bytes;
    m_lastSampleMs = nowMs;
}

void SpeedTester::onStreamFinished(QNetworkReply* reply)
{
    if (m_phaseFinished)
        return;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QNetworkReply::NetworkError error = reply->error();
    if (m_phaseTimer.isActive() && status >= 200 && status < 300) {
        const qint64 sentBytes = m_uploadSent.take(reply);
        m_completedUploadBytes += sentBytes;
        m_sentInFlightBytes -= sentBytes;
        m_replies.removeOne(reply);
        QNetworkAccessManager& manager = *reply->manager();
        release(reply);
        startStream(manager);
        return;
    }
    m_httpStatus = status;
    if (error != QNetworkReply::NoError && error != QNetworkReply::OperationCanceledError)
        m_errorText = reply->errorString();
    finishPhase();
}

void SpeedTester::abortAll()
{
    const QList<QNetworkReply*> replies = m_replies;
    for (QNetworkReply* const reply : replies) {
        // The first one ends the phase, and that lets go of the others.
        if (m_replies.contains(reply))
            reply->abort();
    }
}

void SpeedTester::finishPhase()
{
    m_phaseFinished = true;
    m_phaseTimer.stop();
    m_sampleTimer.stop();
    const qint64 elapsedMs = m_clock.elapsed();
    const qint64 bytes = phaseBytes();
    const double figure = finalFigure(bytes, elapsedMs);
    abortStreams();
    const bool isUpload = m_mode == Mode::Upload;
    logMessage(LogLevel::Info, QStringLiteral("speedtest"),
               QStringLiteral("%1: %2 bytes, http=%3, err='%4'")
                   .arg(isUpload ? QStringLiteral("upload") : QStringLiteral("download"), QString::number(bytes),
                        QString::number(m_httpStatus), m_errorText));
    if (bytes < 1 || m_httpStatus >= 400) {
        m_running = false;
        Q_EMIT failed(QStringLiteral("%1 failed (HTTP %2%3).")
                          .arg(isUpload ? QStringLiteral("Upload") : QStringLiteral("Download"),
                               QString::number(m_httpStatus),
                               m_errorText.isEmpty() ? QString() : QStringLiteral(", ") + m_errorText));
    } else if (isUpload) {
        m_running = false;
        Q_EMIT uploadReady(figure);
        Q_EMIT finished();
    } else {
        Q_EMIT downloadReady(figure);
        startPhase(Mode::Upload);
    }
}

double SpeedTester::finalFigure(qint64 bytes, qint64 elapsedMs) const
{
    const qsizetype skipped = m_samples.size() >= samplesWithWarmUp ? 1 : 0;
    const qsizetype count = m_samples.size() - skipped;
    if (count == 0)
        return mbps(bytes, elapsedMs);
    return std::accumulate(m_samples.begin() + skipped, m_samples.end(), 0.0) / static_cast<double>(count);
}

void SpeedTester::abortStreams()
{
    const QList<QNetworkReply*> replies = std::exchange(m_replies, {});
    for (QNetworkReply* const reply : replies)
        release(reply);
    m_uploadSent.clear();
    m_sentInFlightBytes = 0;
    m_payload.reset();
}

void SpeedTester::release(QNetworkReply* reply)
{
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
}

} // namespace torvelane
