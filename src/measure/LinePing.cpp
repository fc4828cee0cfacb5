#include "measure/LinePing.h"

#include <QElapsedTimer>
#include <QHostInfo>
#include <QNetworkProxy>
#include <QTcpSocket>
#include <QThread>

#include <cmath>
#include <vector>

namespace torvelane {

namespace {

constexpr int probes = 10;
constexpr int intervalMs = 200;
constexpr int probeTimeoutMs = 1000;
constexpr double nsPerMs = 1e6;

/// Milliseconds to the connection; below 0 if there was none.
double probe(const QHostAddress& address, quint16 port)
{
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    QElapsedTimer clock;
    clock.start();
    socket.connectToHost(address, port);
    if (!socket.waitForConnected(probeTimeoutMs))
        return -1.0;
    const double elapsedMs = static_cast<double>(clock.nsecsElapsed()) / nsPerMs;
    socket.abort();
    return elapsedMs;
}

PingStats statsOf(const std::vector<double>& answeredMs, int sent)
{
    if (answeredMs.empty())
        return {.lossPct = 100.0};
    PingStats stats;
    for (std::size_t i = 0; i < answeredMs.size(); ++i) {
        stats.avgMs += answeredMs[i];
        if (i > 0)
            stats.jitterMs += std::abs(answeredMs[i] - answeredMs[i - 1]);
    }
    const auto answered = static_cast<double>(answeredMs.size());
    stats.avgMs /= answered;
    stats.jitterMs = answeredMs.size() > 1 ? stats.jitterMs / (answered - 1.0) : 0.0;
    stats.lossPct = 100.0 * (1.0 - answered / sent);
    return stats;
}

} // namespace

PingStats pingHost(const QString& host, quint16 port, const PingStop& stop)
{
    const QList<QHostAddress> addresses = QHostInfo::fromName(host).addresses();
    if (addresses.isEmpty())
        return {.lossPct = 100.0};
    std::vector<double> answeredMs;
    int sent = 0;
    QElapsedTimer clock;
    clock.start();
    while (sent < probes && !*stop) {
        const qint64 dueMs = static_cast<qint64>(sent) * intervalMs;
        if (clock.elapsed() < dueMs)
            QThread::msleep(static_cast<unsigned long>(dueMs - clock.elapsed()));
        ++sent;
        const double elapsedMs = probe(addresses.constFirst(), port);
        if (elapsedMs >= 0.0)
            answeredMs.push_back(elapsedMs);
    }
    return statsOf(answeredMs, std::max(sent, 1));
}

} // namespace torvelane
