#pragma once

#include "platform/HttpGet.h"
#include "platform/simulated/network/HttpConnection.h"

namespace torvelane::platform::simulated {

/// The head of an answer, and the way to its body (RFC 9112).
class HttpAnswer {
public:
    /// The whole head within `deadline`; interim answers are skipped.
    [[nodiscard]] Win32Error readHead(HttpConnection& connection, QDeadlineTimer deadline);

    /// Hands the body over. Each read has its own limit. Cancelled if the receiver stopped.
    [[nodiscard]] Win32Error readBody(HttpConnection& connection, quint32 timeoutMs, const HttpReceiver& receive) const;

    [[nodiscard]] int status() const { return m_status; }

    /// Where a redirect leads, as the server wrote it; empty for any other answer.
    [[nodiscard]] QByteArray location() const;

private:
    [[nodiscard]] Win32Error takeStatusLine(const QByteArray& line);
    [[nodiscard]] Win32Error takeHeader(const QByteArray& line);

    int m_status = 0;
    qint64 m_length = -1; ///< Content-Length; -1 if there is none.
    bool m_isChunked = false;
    QByteArray m_location;
};

} // namespace torvelane::platform::simulated
