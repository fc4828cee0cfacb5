#include "net/WinHttpGet.h"

#include "core/Log.h"
#include "net/UserAgent.h"
#include "platform/HttpGet.h"

#include <QElapsedTimer>
#include <QIODevice>

namespace torvelane {

namespace {

using platform::HttpCall;
using platform::HttpOutcome;
using platform::Win32Error;

/// What an answer has to bring in each second, over a time of timeoutMs.
constexpr qint64 minBytesPerSecond = 8 * 1024;

/// What is read of a body that nobody takes.
constexpr qint64 maxIgnoredBytes = 1024 * 1024;

/// Takes a body, and ends the request when it may not go on.
class Receiver {
public:
    Receiver(QByteArray* body, QIODevice* sink, const std::function<void()>& progress, quint32 timeoutMs)
        : m_body(body)
        , m_sink(sink)
        , m_progress(progress)
        , m_timeoutMs(timeoutMs)
    {
    }

    [[nodiscard]] bool take(std::span<const char> bytes)
    {
        const auto size = static_cast<qint64>(bytes.size());
        m_totalBytes += size;
        if (!passesLimits(size) || !store(bytes.data(), size))
            return false;
        if (m_progress)
            m_progress();
        return true;
    }

    /// Why the request was ended; empty if that is no failure.
    [[nodiscard]] QString reason() const { return m_reason; }

private:
    [[nodiscard]] bool isIgnored() const { return !m_body && !m_sink; }

    [[nodiscard]] bool passesLimits(qint64 size)
    {
        const qint64 limit = m_body ? maxBodyBytes : m_sink ? maxSinkBytes : maxIgnoredBytes;
        if (m_totalBytes > limit)
            return refuse(QStringLiteral("Answer refused: longer than %1 bytes").arg(limit));
        // The clock starts with the first bytes.
        if (!m_window.isValid())
            m_window.start();
        m_windowBytes += size;
        const qint64 elapsedMs = m_window.elapsed();
        if (elapsedMs < m_timeoutMs)
            return true;
        if (m_windowBytes * 1000 < minBytesPerSecond * elapsedMs)
            return refuse(QStringLiteral("Answer refused: only %1 bytes in %2 ms").arg(m_windowBytes).arg(elapsedMs));
        m_window.start();
        m_windowBytes = 0;
        return true;
    }

    [[nodiscard]] bool store(const char* data, qint64 size)
    {
        if (m_sink && m_sink->write(data, size) != size) {
            m_reason = QStringLiteral("Disk write failed: ") + m_sink->errorString();
            return false;
        }
        if (m_body)
            m_body->append(data, size);
        return true;
    }

    [[nodiscard]] bool refuse(const QString& reason)
    {
        if (!isIgnored())
            m_reason = reason;
        return false;
    }

    QByteArray* m_body;
    QIODevice* m_sink;
    const std::function<void()>& m_progress;
    const qint64 m_timeoutMs;
    qint64 m_totalBytes = 0;
    QElapsedTimer m_window;
    qint64 m_windowBytes = 0;
    QString m_reason;
};

/// The log line of a failure that isn't the receiver's.
QString failureText(const HttpOutcome& outcome, const QString& url)
{
    const quint32 code = platform::toNumber(outcome.code);
    switch (outcome.failed) {
    case HttpCall::CrackUrl:
        return QStringLiteral("Bad URL: ") + url;
    case HttpCall::Open:
        return QStringLiteral("WinHttpOpen failed (%1)").arg(code);
    case HttpCall::Connect:
        return QStringLiteral("WinHttpConnect failed (%1)").arg(code);
    case HttpCall::OpenRequest:
        return QStringLiteral("WinHttpOpenRequest failed (%1)").arg(code);
    case HttpCall::Request:
        return QStringLiteral("Request failed for %1 (%2)").arg(url, QString::number(code));
    case HttpCall::Read:
        return QStringLiteral("Read failed (%1)").arg(code);
    case HttpCall::Complete:
        break;
    }
    return {};
}

} // namespace

HttpResult winHttpGet(const QString& url, quint32 timeoutMs, QByteArray* body, QIODevice* sink,
                      const std::function<void()>& progress, const QString& logChannel, const QString& bearerToken)
{
    platform::HttpRequest request{.url = url,
                                  .userAgent = userAgent(),
                                  .headers = {QStringLiteral("Accept: application/vnd.github+json")},
                                  .timeoutMs = timeoutMs,
                                  .mayRedirect = bearerToken.isEmpty()};
    if (!bearerToken.isEmpty())
        request.headers.append(QStringLiteral("Authorization: Bearer ") + bearerToken);
    Receiver receiver(body, sink, progress, timeoutMs);
    const HttpOutcome outcome =
        platform::httpGet(request, [&receiver](std::span<const char> bytes) { return receiver.take(bytes); });

    const bool wasStopped = outcome.failed == HttpCall::Read && outcome.code == Win32Error::Cancelled;
    if (outcome.failed == HttpCall::Complete || (wasStopped && receiver.reason().isEmpty()))
        return {true, outcome.status};
    logMessage(LogLevel::Warn, logChannel, wasStopped ? receiver.reason() : failureText(outcome, url));
    return {false, outcome.status};
}

} // namespace torvelane
