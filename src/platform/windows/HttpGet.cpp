#include "platform/HttpGet.h"

#include "platform/windows/Owners.h"

#include <QSslConfiguration>

#include <array>
#include <vector>

#include <winhttp.h>

namespace torvelane::platform {

namespace {

struct InternetTraits : ResourceOf<HINTERNET> {
    static void close(HINTERNET handle) { WinHttpCloseHandle(handle); }
};
using OwnedInternet = Owner<InternetTraits>;

// WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 and _TLS1_3; the first alone for a Windows that doesn't know the other.
constexpr DWORD secureProtocols = 0x2800;
constexpr DWORD olderSecureProtocols = 0x0800;

// Longer parts make a URL a bad one.
constexpr std::size_t maxHostLength = 256;
constexpr std::size_t maxPathLength = 2048;
constexpr std::size_t maxExtraLength = 1024;

struct Address {
    std::array<wchar_t, maxHostLength> host{};
    std::array<wchar_t, maxPathLength> path{};
    std::array<wchar_t, maxExtraLength> extra{};
    INTERNET_PORT port = 0;
    bool isSecure = false;

    [[nodiscard]] bool crack(const QString& url)
    {
        URL_COMPONENTS parts{};
        parts.dwStructSize = sizeof parts;
        parts.lpszHostName = host.data();
        parts.dwHostNameLength = static_cast<DWORD>(host.size());
        parts.lpszUrlPath = path.data();
        parts.dwUrlPathLength = static_cast<DWORD>(path.size());
        parts.lpszExtraInfo = extra.data();
        parts.dwExtraInfoLength = static_cast<DWORD>(extra.size());
        if (!WinHttpCrackUrl(wide(url), 0, 0, &parts))
            return false;
        port = parts.nPort;
        isSecure = parts.nScheme == INTERNET_SCHEME_HTTPS;
        return true;
    }

    /// Path and query; a fragment is no part of a request.
    [[nodiscard]] QString object() const
    {
        return QString::fromWCharArray(path.data()) + QString::fromWCharArray(extra.data()).section(u'#', 0, 0);
    }
};

bool setOption(HINTERNET handle, DWORD option, DWORD value)
{
    return WinHttpSetOption(handle, option, &value, sizeof value);
}

bool queryNumber(HINTERNET request, DWORD header, DWORD& number)
{
    DWORD sizeBytes = sizeof number;
    return WinHttpQueryHeaders(request, header | WINHTTP_QUERY_FLAG_NUMBER, WINHTTP_HEADER_NAME_BY_INDEX, &number,
                               &sizeBytes, WINHTTP_NO_HEADER_INDEX);
}

/// Content-Length as text, since as a number it would have 32 bits; -1 if there is none.
qint64 announcedLength(HINTERNET request)
{
    std::array<wchar_t, 32> text{};
    DWORD sizeBytes = sizeof text;
    if (!WinHttpQueryHeaders(request, WINHTTP_QUERY_CONTENT_LENGTH, WINHTTP_HEADER_NAME_BY_INDEX, text.data(),
                             &sizeBytes, WINHTTP_NO_HEADER_INDEX)) {
        return -1;
    }
    bool isNumber = false;
    const qint64 length = QString::fromWCharArray(text.data()).toLongLong(&isNumber);
    return isNumber ? length : -1;
}

HttpOutcome failure(HttpCall call, int status = 0)
{
    return {call, static_cast<Win32Error>(GetLastError()), status};
}

HttpOutcome readBody(HINTERNET request, int status, const HttpReceiver& receive)
{
    const bool hasBody = status != HTTP_STATUS_NO_CONTENT && status != HTTP_STATUS_NOT_MODIFIED;
    const qint64 expectedBytes = hasBody ? announcedLength(request) : 0;
    qint64 receivedBytes = 0;
    std::vector<char> buffer;
    for (;;) {
        DWORD availableBytes = 0;
        if (!WinHttpQueryDataAvailable(request, &availableBytes))
            return failure(HttpCall::Read, status);
        if (availableBytes == 0 && receivedBytes < expectedBytes)
            return {HttpCall::Read, Win32Error::HttpConnectionError, status};
        if (availableBytes == 0)
            return {HttpCall::Complete, Win32Error::Success, status};
        buffer.resize(std::max<std::size_t>(buffer.size(), availableBytes));
        DWORD readBytes = 0;
        if (!WinHttpReadData(request, buffer.data(), availableBytes, &readBytes))
            return failure(HttpCall::Read, status);
        receivedBytes += readBytes;
        if (readBytes > 0 && !receive(std::span(buffer.data(), readBytes)))
            return {HttpCall::Read, Win32Error::Cancelled, status};
    }
}

} // namespace

HttpOutcome httpGet(const HttpRequest& request, const HttpReceiver& receive)
{
    Address address;
    if (!address.crack(request.url))
        return failure(HttpCall::CrackUrl);

    const OwnedInternet session(WinHttpOpen(wide(request.userAgent), WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY,
                                            WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
    if (!session)
        return failure(HttpCall::Open);
    const int limitMs = static_cast<int>(request.timeoutMs);
    WinHttpSetTimeouts(session.get(), limitMs, limitMs, limitMs, limitMs);
    if (!setOption(session.get(), WINHTTP_OPTION_SECURE_PROTOCOLS, secureProtocols))
        setOption(session.get(), WINHTTP_OPTION_SECURE_PROTOCOLS, olderSecureProtocols);

    const OwnedInternet connection(WinHttpConnect(session.get(), address.host.data(), address.port, 0));
    if (!connection)
        return failure(HttpCall::Connect);
    const QString object = address.object();
    const OwnedInternet handle(WinHttpOpenRequest(connection.get(), L"GET", wide(object), nullptr, WINHTTP_NO_REFERER,
                                                  WINHTTP_DEFAULT_ACCEPT_TYPES,
                                                  address.isSecure ? WINHTTP_FLAG_SECURE : 0));
    if (!handle)
        return failure(HttpCall::OpenRequest);
    // The receive limit is one for each packet. Without this one the head of an answer that comes byte by byte could
    // take 90 s.
    setOption(handle.get(), WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, request.timeoutMs);
    if (!request.mayRedirect)
        setOption(handle.get(), WINHTTP_OPTION_REDIRECT_POLICY, WINHTTP_OPTION_REDIRECT_POLICY_NEVER);

    QString headers;
    for (const QString& header : request.headers)
        headers += header + QStringLiteral("\r\n");
    if (!WinHttpSendRequest(handle.get(), headers.isEmpty() ? WINHTTP_NO_ADDITIONAL_HEADERS : wide(headers),
                            static_cast<DWORD>(headers.size()), WINHTTP_NO_REQUEST_DATA, 0, 0, 0)
        || !WinHttpReceiveResponse(handle.get(), nullptr)) {
        return failure(HttpCall::Request);
    }
    DWORD status = 0;
    if (!queryNumber(handle.get(), WINHTTP_QUERY_STATUS_CODE, status))
        return failure(HttpCall::Request);
    return readBody(handle.get(), static_cast<int>(status), receive);
}

QSslConfiguration machineTlsConfiguration()
{
    // Qt asks Schannel, and Schannel the machine.
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    return configuration;
}

} // namespace torvelane::platform
