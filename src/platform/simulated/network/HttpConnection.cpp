#include "platform/simulated/network/HttpConnection.h"

#include "platform/HttpGet.h"

#include <QHostInfo>
#include <QNetworkProxy>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QUrl>

#include <algorithm>
#include <future>
#include <thread>

namespace torvelane::platform::simulated {

namespace {

constexpr int httpPort = 80;
constexpr int httpsPort = 443;

/// What the system has read for us at most: events that the receiver processes may read on.
constexpr qint64 readAheadBytes = 256 * 1024;

int remainingMs(const QDeadlineTimer& deadline)
{
    return static_cast<int>(deadline.remainingTime());
}

/// The system's own search has no limit that could be given to it, so it runs on a thread that is left behind at the
/// end of the time.
Win32Error lookUp(const QString& host, quint32 timeoutMs, QList<QHostAddress>& addresses)
{
    if (QHostAddress literal; literal.setAddress(host)) {
        addresses = {literal};
        return Win32Error::Success;
    }
    auto found = std::make_shared<std::promise<QList<QHostAddress>>>();
    std::future<QList<QHostAddress>> answer = found->get_future();
    std::thread([found, host] { found->set_value(QHostInfo::fromName(host).addresses()); }).detach();
    if (answer.wait_for(std::chrono::milliseconds(timeoutMs)) != std::future_status::ready)
        return Win32Error::HttpTimeout;
    addresses = answer.get();
    return addresses.isEmpty() ? Win32Error::HttpNameNotResolved : Win32Error::Success;
}

} // namespace

Win32Error HttpConnection::open(const QUrl& url, quint32 timeoutMs)
{
    QList<QHostAddress> addresses;
    Win32Error error = lookUp(url.host(), timeoutMs, addresses);
    for (const QHostAddress& address : std::as_const(addresses)) {
        error = openAddress(address, url, timeoutMs);
        if (error == Win32Error::Success)
            break;
    }
    return error;
}

Win32Error HttpConnection::openAddress(const QHostAddress& address, const QUrl& url, quint32 timeoutMs)
{
    const bool isSecure = url.scheme() == QStringLiteral("https");
    m_begin = m_end = 0;
    m_socket = isSecure ? std::make_unique<QSslSocket>() : std::make_unique<QTcpSocket>();
    m_socket->setProxy(QNetworkProxy::NoProxy);
    m_socket->setReadBufferSize(readAheadBytes);
    const QDeadlineTimer deadline(timeoutMs);
    m_socket->connectToHost(address, static_cast<quint16>(url.port(isSecure ? httpsPort : httpPort)));
    if (!m_socket->waitForConnected(remainingMs(deadline))) {
        return m_socket->error() == QAbstractSocket::SocketTimeoutError ? Win32Error::HttpTimeout
                                                                        : Win32Error::HttpCannotConnect;
    }
    if (!isSecure)
        return Win32Error::Success;
    auto& secured = static_cast<QSslSocket&>(*m_socket);
    secured.setSslConfiguration(machineTlsConfiguration());
    secured.setPeerVerifyName(url.host());
    secured.startClientEncryption();
    if (secured.waitForEncrypted(remainingMs(deadline)))
        return Win32Error::Success;
    return secured.error() == QAbstractSocket::SocketTimeoutError ? Win32Error::HttpTimeout
                                                                  : Win32Error::HttpSecureFailure;
}

Win32Error HttpConnection::send(const QByteArray& request, QDeadlineTimer deadline)
{
    m_socket->write(request);
    while (m_socket->bytesToWrite() > 0) {
        if (!m_socket->waitForBytesWritten(remainingMs(deadline)))
            return deadline.hasExpired() ? Win32Error::HttpTimeout : Win32Error::HttpConnectionError;
    }
    return Win32Error::Success;
}

Win32Error HttpConnection::fill(QDeadlineTimer deadline)
{
    for (;;) {
        const qint64 count = m_socket->read(m_block.data(), static_cast<qint64>(m_block.size()));
        if (count > 0) {
            m_begin = 0;
            m_end = static_cast<std::size_t>(count);
            return Win32Error::Success;
        }
        if (count < 0 || !m_socket->waitForReadyRead(remainingMs(deadline))) {
            const bool isOpen = m_socket->state() == QAbstractSocket::ConnectedState;
            if (m_socket->bytesAvailable() > 0)
                continue;
            return isOpen ? Win32Error::HttpTimeout : Win32Error::HttpConnectionError;
        }
    }
}

Win32Error HttpConnection::read(std::span<const char>& bytes, qint64 limit, QDeadlineTimer deadline)
{
    if (m_begin == m_end) {
        if (const Win32Error error = fill(deadline); error != Win32Error::Success)
            return error;
    }
    const std::size_t count = std::min(m_end - m_begin, static_cast<std::size_t>(limit));
    bytes = std::span(m_block).subspan(m_begin, count);
    m_begin += count;
    return Win32Error::Success;
}

Win32Error HttpConnection::readLine(QByteArray& line, qint64 limit, QDeadlineTimer deadline)
{
    line.clear();
    for (;;) {
        if (m_begin == m_end) {
            if (const Win32Error error = fill(deadline); error != Win32Error::Success)
                return error;
        }
        const auto begin = m_block.begin() + static_cast<std::ptrdiff_t>(m_begin);
        const auto end = m_block.begin() + static_cast<std::ptrdiff_t>(m_end);
        const auto lineEnd = std::find(begin, end, '\n');
        line.append(&*begin, lineEnd - begin);
        if (line.size() > limit)
            return Win32Error::HttpHeaderOverflow;
        m_begin += static_cast<std::size_t>(lineEnd - begin) + (lineEnd == end ? 0 : 1);
        if (lineEnd != end) {
            if (line.endsWith('\r'))
                line.chop(1);
            return Win32Error::Success;
        }
        if (deadline.hasExpired())
            return Win32Error::HttpTimeout;
    }
}

} // namespace torvelane::platform::simulated
