#include "platform/simulated/network/HttpAnswer.h"

#include <limits>

namespace torvelane::platform::simulated {

namespace {

/// WinHTTP's default for WINHTTP_OPTION_MAX_RESPONSE_HEADER_SIZE.
constexpr qint64 maxHeadBytes = 65536;
constexpr qint64 maxChunkLineBytes = 1024;

/// Hands exactly `length` bytes over.
Win32Error passOn(HttpConnection& connection, qint64 length, quint32 timeoutMs, const HttpReceiver& receive)
{
    while (length > 0) {
        std::span<const char> bytes;
        if (const Win32Error error = connection.read(bytes, length, QDeadlineTimer(timeoutMs));
            error != Win32Error::Success) {
            return error;
        }
        length -= static_cast<qint64>(bytes.size());
        if (!receive(bytes))
            return Win32Error::Cancelled;
    }
    return Win32Error::Success;
}

Win32Error passChunks(HttpConnection& connection, quint32 timeoutMs, const HttpReceiver& receive)
{
    QByteArray line;
    for (;;) {
        Win32Error error = connection.readLine(line, maxChunkLineBytes, QDeadlineTimer(timeoutMs));
        if (error != Win32Error::Success)
            return error;
        bool isNumber = false;
        const qint64 length = line.split(';').constFirst().trimmed().toLongLong(&isNumber, 16);
        if (!isNumber || length < 0)
            return Win32Error::HttpAnswerInvalid;
        if (length == 0)
            break;
        error = passOn(connection, length, timeoutMs, receive);
        if (error == Win32Error::Success)
            error = connection.readLine(line, maxChunkLineBytes, QDeadlineTimer(timeoutMs));
        if (error == Win32Error::Success && !line.isEmpty())
            error = Win32Error::HttpAnswerInvalid;
        if (error != Win32Error::Success)
            return error;
    }
    // Trailers, up to an empty line.
    qint64 trailerBytes = 0;
    do {
        const Win32Error error = connection.readLine(line, maxHeadBytes - trailerBytes, QDeadlineTimer(timeoutMs));
        if (error != Win32Error::Success)
            return error;
        trailerBytes += line.size();
    } while (!line.isEmpty());
    return Win32Error::Success;
}

Win32Error passToEnd(HttpConnection& connection, quint32 timeoutMs, const HttpReceiver& receive)
{
    const Win32Error error = passOn(connection, std::numeric_limits<qint64>::max(), timeoutMs, receive);
    return error == Win32Error::HttpConnectionError ? Win32Error::Success : error;
}

} // namespace

Win32Error HttpAnswer::readHead(HttpConnection& connection, QDeadlineTimer deadline)
{
    qint64 leftBytes = maxHeadBytes;
    do {
        *this = HttpAnswer();
        QByteArray line;
        Win32Error error = connection.readLine(line, leftBytes, deadline);
        if (error == Win32Error::Success)
            error = takeStatusLine(line);
        while (error == Win32Error::Success) {
            leftBytes -= line.size() + 1;
            error = connection.readLine(line, leftBytes, deadline);
            if (error != Win32Error::Success || line.isEmpty())
                break;
            error = takeHeader(line);
        }
        if (error != Win32Error::Success)
            return error;
    } while (m_status < 200);
    return Win32Error::Success;
}

Win32Error HttpAnswer::takeStatusLine(const QByteArray& line)
{
    bool isNumber = false;
    m_status = line.mid(9, 3).toInt(&isNumber);
    const bool isValid = line.startsWith("HTTP/1.") && isNumber && m_status >= 100;
    return isValid ? Win32Error::Success : Win32Error::HttpAnswerInvalid;
}

Win32Error HttpAnswer::takeHeader(const QByteArray& line)
{
    const qsizetype colon = line.indexOf(':');
    if (colon <= 0)
        return Win32Error::HttpAnswerInvalid;
    const QByteArray name = line.left(colon).toLower();
    const QByteArray value = line.mid(colon + 1).trimmed();
    if (name == "transfer-encoding") {
        m_isChunked = value.toLower() == "chunked";
        return m_isChunked ? Win32Error::Success : Win32Error::HttpAnswerInvalid;
    }
    if (name == "location")
        m_location = value;
    if (name == "content-length") {
        bool isNumber = false;
        m_length = value.toLongLong(&isNumber);
        if (!isNumber || m_length < 0)
            return Win32Error::HttpAnswerInvalid;
    }
    return Win32Error::Success;
}

QByteArray HttpAnswer::location() const
{
    const bool isRedirect = m_status == 301 || m_status == 302 || m_status == 303 || m_status == 307 || m_status == 308;
    return isRedirect ? m_location : QByteArray();
}

Win32Error HttpAnswer::readBody(HttpConnection& connection, quint32 timeoutMs, const HttpReceiver& receive) const
{
    if (m_status == 204 || m_status == 304)
        return Win32Error::Success;
    if (m_isChunked)
        return passChunks(connection, timeoutMs, receive);
    return m_length >= 0 ? passOn(connection, m_length, timeoutMs, receive) : passToEnd(connection, timeoutMs, receive);
}

} // namespace torvelane::platform::simulated
