#include "platform/HttpGet.h"

#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/network/HttpAnswer.h"

#include <QJsonArray>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QUrl>

using namespace Qt::StringLiterals;

/// The facility "network". "online" is whether names are resolved at all; "authorities" are certificates, as PEM texts,
/// that this machine trusts beside those of the system that it runs on. A fault on "network.get" fails a request. The
/// simulated PC has no proxy.
namespace torvelane::platform {

using namespace simulated;

namespace {

// As on Windows.
constexpr int maxRedirects = 10;
constexpr qsizetype maxHostLength = 255;
constexpr qsizetype maxPathLength = 2047;
constexpr qsizetype maxQueryLength = 1022;

Win32Error askMachine(const QString& url)
{
    return Calls::query(Call{u"network.get"_s, {url}}, [](const QJsonObject& network) {
        return network.value("online"_L1).toBool() ? Win32Error::Success : Win32Error::HttpNameNotResolved;
    });
}

bool isUsable(const QUrl& url)
{
    return url.isValid() && !url.host().isEmpty() && (url.scheme() == u"https" || url.scheme() == u"http")
        && url.host().size() <= maxHostLength && url.path(QUrl::FullyEncoded).size() <= maxPathLength
        && url.query(QUrl::FullyEncoded).size() <= maxQueryLength;
}

QByteArray requestText(const HttpRequest& request, const QUrl& url)
{
    const QString path = url.path(QUrl::FullyEncoded).isEmpty() ? u"/"_s : url.path(QUrl::FullyEncoded);
    QString text = u"GET "_s + path + (url.hasQuery() ? u'?' + url.query(QUrl::FullyEncoded) : QString())
        + u" HTTP/1.1\r\nHost: "_s + url.authority(QUrl::FullyEncoded).section(u'@', -1)
        + u"\r\nConnection: close\r\nUser-Agent: "_s + request.userAgent + u"\r\n"_s;
    for (const QString& header : request.headers)
        text += header + u"\r\n"_s;
    return (text + u"\r\n"_s).toUtf8();
}

/// One request, up to the head of its answer.
Win32Error ask(const HttpRequest& request, const QUrl& url, HttpConnection& connection, HttpAnswer& answer)
{
    Win32Error error = askMachine(url.toString());
    if (error == Win32Error::Success)
        error = connection.open(url, request.timeoutMs);
    if (error == Win32Error::Success)
        error = connection.send(requestText(request, url), QDeadlineTimer(request.timeoutMs));
    if (error == Win32Error::Success)
        error = answer.readHead(connection, QDeadlineTimer(request.timeoutMs));
    return error;
}

} // namespace

HttpOutcome httpGet(const HttpRequest& request, const HttpReceiver& receive)
{
    QUrl url(request.url);
    if (!isUsable(url))
        return {HttpCall::CrackUrl, Win32Error::HttpUrlInvalid, 0};
    for (int redirects = 0;; ++redirects) {
        HttpConnection connection;
        HttpAnswer answer;
        if (const Win32Error error = ask(request, url, connection, answer); error != Win32Error::Success)
            return {HttpCall::Request, error, 0};
        if (!request.mayRedirect || answer.location().isEmpty()) {
            const Win32Error error = answer.readBody(connection, request.timeoutMs, receive);
            return {error == Win32Error::Success ? HttpCall::Complete : HttpCall::Read, error, answer.status()};
        }
        const QUrl target = url.resolved(QUrl::fromEncoded(answer.location()));
        const bool isLessSafe = url.scheme() == u"https" && target.scheme() != u"https";
        if (redirects == maxRedirects || !isUsable(target) || isLessSafe)
            return {HttpCall::Request, Win32Error::HttpRedirectFailed, 0};
        url = target;
    }
}

QSslConfiguration machineTlsConfiguration()
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    QList<QSslCertificate> authorities;
    std::ignore = Calls::query(
        Call{u"network.authorities"_s, {}},
        [&authorities](const QJsonObject& network) {
            for (const QJsonValue& authority : network.value("authorities"_L1).toArray())
                authorities += QSslCertificate::fromData(authority.toString().toUtf8());
            return Win32Error::Success;
        },
        Calls::Recorded::No);
    // A list of one's own ends the loading of the system's on demand.
    if (!authorities.isEmpty()) {
        // Read from some 150 files each time that anybody asks.
        static const QList<QSslCertificate> ofTheHost = QSslConfiguration::systemCaCertificates();
        configuration.setCaCertificates(ofTheHost + authorities);
    }
    return configuration;
}

} // namespace torvelane::platform
