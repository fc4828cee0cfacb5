#pragma once

#include <QByteArray>
#include <QSslConfiguration>
#include <QString>
#include <QTcpServer>
#include <QThread>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

class QTcpSocket;

namespace torvelane::test {

/// One request at the server, and the connection to answer on.
class Exchange {
public:
    Exchange(QTcpSocket& socket, const std::atomic_bool& isEnding) : m_socket(socket), m_isEnding(isEnding) { }

    QByteArray method;
    QByteArray path; ///< With its query.
    QByteArray head; ///< Request line and headers.
    QByteArray body;

    /// Sends as it stands. False if the client has gone or the server ends.
    bool send(const QByteArray& bytes);

    /// A whole answer with its length.
    bool answer(int status, const QByteArray& content, const QByteArray& headers = {});

    /// Zeros, `bytes` of them, in blocks.
    bool sendZeros(qint64 bytes);

    /// Waits. False if the client has gone or the server ends.
    bool pause(int ms);

private:
    QTcpSocket& m_socket;
    const std::atomic_bool& m_isEnding;
};

/// A server of a test on the loopback address and a free port, HTTP/1.1 with one thread for each connection. `handler`
/// runs there, for each request; the connection stays open for the next one while it returns true. With a configuration
/// the server speaks TLS.
class LoopbackServer : private QTcpServer {
public:
    using Handler = std::function<bool(Exchange&)>;

    explicit LoopbackServer(Handler handler, const std::optional<QSslConfiguration>& tls = {});
    ~LoopbackServer() override;

    /// "http://127.0.0.1:<port>", or "https://localhost:<port>", without a slash at its end.
    [[nodiscard]] QString url(const QString& path = {}) const;
    [[nodiscard]] quint16 port() const { return m_port; }
    [[nodiscard]] int connections() const { return m_connections; }
    [[nodiscard]] int requests() const { return m_requests; }

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void serve(qintptr descriptor);
    [[nodiscard]] bool readRequest(QTcpSocket& socket, Exchange& exchange);

    const Handler m_handler;
    const std::optional<QSslConfiguration> m_tls;
    quint16 m_port = 0;
    QThread m_thread;   ///< Accepts.
    std::mutex m_mutex; ///< Of the list below.
    std::vector<std::jthread> m_connectionThreads;
    std::atomic_bool m_isEnding = false;
    std::atomic_int m_connections = 0;
    std::atomic_int m_requests = 0;
};

/// A port at which nobody listens.
inline quint16 freePort()
{
    return LoopbackServer([](Exchange&) { return false; }).port();
}

} // namespace torvelane::test
