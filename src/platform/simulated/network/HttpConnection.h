#pragma once

#include "platform/Win32Error.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QTcpSocket>

#include <array>
#include <memory>
#include <span>

class QUrl;

namespace torvelane::platform::simulated {

/// A connection to a server, with TLS where the URL says so, read by blocking calls that process no events. Belongs to
/// one thread.
class HttpConnection {
public:
    /// Name, connection and handshake, each within the time.
    [[nodiscard]] Win32Error open(const QUrl& url, quint32 timeoutMs);

    [[nodiscard]] Win32Error send(const QByteArray& request, QDeadlineTimer deadline);

    /// Some of the next bytes, at most `limit`, valid until the next call. HttpTimeout if none came,
    /// HttpConnectionError if there are no more.
    [[nodiscard]] Win32Error read(std::span<const char>& bytes, qint64 limit, QDeadlineTimer deadline);

    /// A line without its end. HttpHeaderOverflow if it is longer than `limit`.
    [[nodiscard]] Win32Error readLine(QByteArray& line, qint64 limit, QDeadlineTimer deadline);

private:
    [[nodiscard]] Win32Error openAddress(const QHostAddress& address, const QUrl& url, quint32 timeoutMs);
    [[nodiscard]] Win32Error fill(QDeadlineTimer deadline);

    std::unique_ptr<QTcpSocket> m_socket;
    std::array<char, 65536> m_block{};
    std::size_t m_begin = 0; ///< What has been read of the block ...
    std::size_t m_end = 0;   ///< ... and where it ends.
};

} // namespace torvelane::platform::simulated
