#include "support/LoopbackServer.h"

#include <QDeadlineTimer>
#include <QSslSocket>

#include <algorithm>
#include <memory>

namespace torvelane::test {

namespace {

constexpr int stepMs = 20;
constexpr qint64 maxWaitingBytes = 1024 * 1024;

} // namespace

bool Exchange::send(const QByteArray& bytes)
{
    m_socket.write(bytes);
    while (m_socket.bytesToWrite() > maxWaitingBytes
           || (m_socket.bytesToWrite() > 0 && bytes.size() < maxWaitingBytes)) {
        if (m_isEnding
            || (!m_socket.waitForBytesWritten(stepMs) && m_socket.state() != QAbstractSocket::ConnectedState))
            return false;
    }
    return m_socket.state() == QAbstractSocket::ConnectedState;
}

bool Exchange::answer(int status, const QByteArray& content, const QByteArray& headers)
{
    return send("HTTP/1.1 " + QByteArray::number(status) + " Status\r\nContent-Length: "
                + QByteArray::number(content.size()) + "\r\n" + headers + "\r\n" + content);
}

bool Exchange::sendZeros(qint64 bytes)
{
    static const QByteArray zeros(256 * 1024, '\0');
    for (; bytes > zeros.size(); bytes -= zeros.size()) {
        if (!send(zeros))
            return false;
    }
    return send(zeros.left(bytes));
}

bool Exchange::pause(int ms)
{
    for (const QDeadlineTimer deadline(ms); !deadline.hasExpired();) {
        // Also how it is noticed that the client has gone.
        m_socket.waitForReadyRead(static_cast<int>(std::min<qint64>(stepMs, deadline.remainingTime())));
        if (m_isEnding || m_socket.state() != QAbstractSocket::ConnectedState)
            return false;
    }
    return true;
}

LoopbackServer::LoopbackServer(Handler handler, const std::optional<QSslConfiguration>& tls)
    : m_handler(std::move(handler))
    , m_tls(tls)
{
    if (!listen(QHostAddress::LocalHost))
        qFatal("The test's server can't listen");
    m_port = serverPort();
    m_thread.setObjectName(QStringLiteral("LoopbackServer"));
    moveToThread(&m_thread);
    // On the thread that the listening socket belongs to.
    connect(
        &m_thread, &QThread::finished, this, [this] { close(); }, Qt::DirectConnection);
    m_thread.start();
}

LoopbackServer::~LoopbackServer()
{
    m_isEnding = true;
    m_thread.quit();
    m_thread.wait();
    const std::lock_guard lock(m_mutex);
    m_connectionThreads.clear();
}

QString LoopbackServer::url(const QString& path) const
{
    return (m_tls ? QStringLiteral("https://localhost:%1") : QStringLiteral("http://127.0.0.1:%1")).arg(m_port) + path;
}

void LoopbackServer::incomingConnection(qintptr descriptor)
{
    const std::lock_guard lock(m_mutex);
    m_connectionThreads.emplace_back([this, descriptor] { serve(descriptor); });
}

void LoopbackServer::serve(qintptr descriptor)
{
    ++m_connections;
    std::unique_ptr<QTcpSocket> socket = m_tls ? std::make_unique<QSslSocket>() : std::make_unique<QTcpSocket>();
    socket->setSocketDescriptor(descriptor);
    if (m_tls) {
        auto& secured = static_cast<QSslSocket&>(*socket);
        secured.setSslConfiguration(*m_tls);
        secured.startServerEncryption();
        if (!secured.waitForEncrypted(5000))
            return;
    }
    for (;;) {
        Exchange exchange(*socket, m_isEnding);
        if (!readRequest(*socket, exchange))
            return;
        ++m_requests;
        if (!m_handler(exchange))
            break;
    }
    socket->disconnectFromHost();
    if (socket->state() != QAbstractSocket::UnconnectedState)
        socket->waitForDisconnected(1000);
}

bool LoopbackServer::readRequest(QTcpSocket& socket, Exchange& exchange)
{
    const auto waitForMore = [&] {
        while (!m_isEnding && socket.bytesAvailable() == 0) {
            if (!socket.waitForReadyRead(stepMs) && socket.state() != QAbstractSocket::ConnectedState)
                return socket.bytesAvailable() > 0;
        }
        return !m_isEnding;
    };
    while (!exchange.head.endsWith("\r\n\r\n")) {
        if (!socket.canReadLine() && !waitForMore())
            return false;
        exchange.head += socket.readLine();
    }
    const QList<QByteArray> words = exchange.head.left(exchange.head.indexOf('\r')).split(' ');
    exchange.method = words.value(0);
    exchange.path = words.value(1);
    const QByteArray marker = "content-length:";
    const qsizetype place = exchange.head.toLower().indexOf(marker);
    if (place < 0)
        return true;
    const qsizetype begin = place + marker.size();
    qint64 left = exchange.head.mid(begin, exchange.head.indexOf('\r', begin) - begin).trimmed().toLongLong();
    while (left > 0) {
        if (!waitForMore())
            return false;
        const QByteArray part =
            socket.read(std::min(left, maxWaitingBytes)); // it makes room for all that it is asked for
        left -= part.size();
        if (exchange.body.size() < maxWaitingBytes)
            exchange.body += part;
    }
    return true;
}

} // namespace torvelane::test
