#pragma once

#include "platform/Win32Error.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <span>

class QSslConfiguration;

namespace torvelane::platform {

/// The calls of one GET, in their order.
enum class HttpCall { CrackUrl, Open, Connect, OpenRequest, Request, Read, Complete };

/// How far a GET came.
struct HttpOutcome {
    HttpCall failed = HttpCall::Complete; ///< The call that failed.
    Win32Error code =
        Win32Error::Success; ///< Its error, 12001 and up for WinHTTP's own; Cancelled if the receiver stopped.
    int status = 0;          ///< HTTP status, 0 as long as no answer has come.
};

/// Takes the next bytes of an answer's body, whatever its status. False ends the request.
using HttpReceiver = std::function<bool(std::span<const char>)>;

struct HttpRequest {
    QString url;
    QString userAgent;
    QStringList headers; ///< "Name: value", in this order.
    /// For each stage: name, connection with its handshake, sending, the answer's head, and each read.
    quint32 timeoutMs = 0;
    bool mayRedirect = true; ///< Whether a redirect is followed; never from https to http.
};

/// One GET through WinHTTP: automatic proxy, TLS 1.2 and 1.3 only, the machine's own trust store, up to ten redirects,
/// at most 64 KiB of headers. Any thread; it blocks until the end, processes no events, and calls `receive` on the calling
/// thread. A body that ends before its length fails in Read.
///
/// The whole of it has no limit in time or length: a server that goes on sending is ended by `receive` alone.
/// https://learn.microsoft.com/windows/win32/winhttp/winhttp-sessions-overview
[[nodiscard]] HttpOutcome httpGet(const HttpRequest& request, const HttpReceiver& receive);

/// What Qt's own requests need in order to trust the same authorities as httpGet: TLS 1.2 or later and the machine's
/// trust store. Any thread; may read files.
[[nodiscard]] QSslConfiguration machineTlsConfiguration();

} // namespace torvelane::platform
