#pragma once

#include "measure/LinePing.h"

#include <QElapsedTimer>
#include <QFutureWatcher>
#include <QHash>
#include <QNetworkAccessManager>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <array>
#include <memory>

class QNetworkReply;

namespace torvelane {

/// Measures the line against the speed test endpoint: a ping, a download and an upload, in this order. Download and
/// upload each keep 16 streams open, for 10 s and 3 s. Throughput is in Mbit/s, 10^6 bits each. All on the object's
/// thread, the GUI's, by asynchronous requests, but for the ping. Going away ends all of it.
class SpeedTester : public QObject {
    Q_OBJECT

public:
    /// How long the two phases take.
    struct Durations {
        int downloadMs = 10000;
        int uploadMs = 3000;
    };

    explicit SpeedTester(QObject* parent = nullptr);

    /// Against another endpoint, a base URL without a path, and for another time.
    SpeedTester(const QUrl& endpoint, const Durations& durations, QObject* parent = nullptr);
    ~SpeedTester() override;

    /// Begins a run; `finished` or `failed` ends it. False, and nothing happens, while one is under way.
    bool start();

    [[nodiscard]] bool isRunning() const { return m_running; }

Q_SIGNALS:
    /// "Ping", "Download" or "Upload" begins. Not translated.
    void phaseChanged(const QString& phase);
    void pingReady(double avgMs, double jitterMs, double lossPct);
    void downloadProgress(double mbps); ///< So far, over the whole phase.
    void downloadReady(double mbps);
    void uploadProgress(double mbps);
    void uploadReady(double mbps);
    void finished();

    /// A phase failed, and no later one runs. Not translated.
    void failed(const QString& error);

private:
    enum class Mode { Download, Upload };

    void startPhase(Mode mode);
    void startStream(QNetworkAccessManager& manager);
    void onDownloaded(QNetworkReply* reply);
    void onUploaded(QNetworkReply* reply, qint64 sentBytes);
    void onSampleTick();
    void onStreamFinished(QNetworkReply* reply);
    void abortAll();
    void finishPhase();
    void abortStreams();
    void release(QNetworkReply* reply);
    [[nodiscard]] qint64 uploadTotal() const { return m_completedUploadBytes + m_sentInFlightBytes; }
    [[nodiscard]] qint64 phaseBytes() const { return m_mode == Mode::Upload ? uploadTotal() : m_totalBytes; }
    [[nodiscard]] double finalFigure(qint64 bytes, qint64 elapsedMs) const;

    const QUrl m_endpoint;
    const Durations m_durations;
    /// One manager opens six connections to a host and keeps further requests waiting.
    std::array<QNetworkAccessManager, 3> m_managers;
    QElapsedTimer m_clock;
    QTimer m_phaseTimer;
    QTimer m_sampleTimer;
    Mode m_mode = Mode::Download;
    QList<QNetworkReply*> m_replies;
    QHash<QNetworkReply*, qint64> m_uploadSent;
    qint64 m_totalBytes = 0;
    qint64 m_completedUploadBytes = 0;
    qint64 m_sentInFlightBytes = 0; ///< Sum of m_uploadSent.
    QList<double> m_samples;
    qint64 m_lastSampleBytes = 0;
    qint64 m_lastSampleMs = 0;
    int m_httpStatus = 0;
    QString m_errorText;
    bool m_running = false;
    bool m_phaseFinished = false;
    std::shared_ptr<const char> m_payload; ///< The body of all uploads, there only while they run.
    PingStop m_pingStop;
    QFutureWatcher<PingStats> m_pingWatcher;
};

} // namespace torvelane
