#pragma once

#include "net/ApiResponse.h"

#include <QByteArray>
#include <QObject>

#include <functional>
#include <memory>

class QNetworkAccessManager;

namespace torvelane {

/// Longest answer of the backend that is looked at; a longer one counts as no JSON object.
inline constexpr qint64 maxAnswerBytes = 8LL * 1024 * 1024;

/// Sends the requests of an ApiClient, on the client's thread of its own. Requests run beside each other, and none
/// waits for another one's pause.
class ApiWorker : public QObject {
    Q_OBJECT

public:
    ApiWorker();
    ~ApiWorker() override;

    /// Sends a request and waits for its end in an event loop, so that others go on meanwhile. With a time of more than
    /// 0 there is one attempt with that limit, in milliseconds; otherwise up to three with 15 s each. "GET" is sent as
    /// such, every other verb as POST. On the worker's thread.
    [[nodiscard]] ApiResponse performRequest(const QByteArray& verb, const QString& fullUrl, const QByteArray& payload,
                                             bool hasBody, const QString& bearer, int timeoutOverrideMs);

    /// Ends what runs, without answers, and lets go of the connections. On the worker's thread, as its last act.
    void shutDown();

public Q_SLOTS:
    /// Sends a request with the default limits; `finished` follows.
    void enqueue(quint64 id, const QByteArray& verb, const QString& fullUrl, const QByteArray& payload, bool hasBody,
                 const QString& bearer);

Q_SIGNALS:
    void finished(quint64 id, const torvelane::ApiResponse& resp);

private:
    class Request;
    struct Order;

    void start(const Order& order, std::function<void(const ApiResponse&)> done);

    std::unique_ptr<QNetworkAccessManager> m_manager; ///< Made on first use, so that it belongs to the thread.
};

} // namespace torvelane
