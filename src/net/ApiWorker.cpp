#include "net/ApiWorker.h"

#include "core/Log.h"
#include "net/UserAgent.h"
#include "platform/HttpGet.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QSslConfiguration>
#include <QTimer>

namespace torvelane {

namespace {

constexpr int defaultTimeoutMs = 15000;
constexpr int defaultAttempts = 3;
constexpr int retryPauseMs = 800;

/// Errors after which another attempt may do better. A request that this layer's own timer ended isn't among them: it
/// reports a cancelled operation.
bool isWorthRetrying(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::UnknownNetworkError:
        return true;
    default:
        return false;
    }
}

} // namespace

/// What is to be sent, and how often.
struct ApiWorker::Order {
    QByteArray verb;
    QString url;
    QByteArray payload;
    bool hasBody = false;
    QString bearer;
    int timeoutMs = defaultTimeoutMs;
    int attempts = defaultAttempts;

    [[nodiscard]] QNetworkRequest request() const
    {
        QNetworkRequest request{QUrl(url)};
        request.setHeader(QNetworkRequest::UserAgentHeader, userAgent());
        request.setRawHeader("Accept", "application/json");
        if (hasBody)
            request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        if (!bearer.isEmpty())
            request.setRawHeader("Authorization", "Bearer " + bearer.toUtf8());
        // A redirect is an answer like any other: followed, it would become a GET and take the token to another host.
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        if (request.url().scheme() == QStringLiteral("https"))
            request.setSslConfiguration(platform::machineTlsConfiguration());
        return request;
    }
};

/// One request with its attempts. Deletes itself after `done`, and goes without a word with the manager.
class ApiWorker::Request : public QObject {
public:
    Request(QNetworkAccessManager* manager, Order order, std::function<void(const ApiResponse&)> done)
        : QObject(manager)
        , m_manager(manager)
        , m_order(std::move(order))
        , m_request(m_order.request())
        , m_done(std::move(done))
    {
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, [this] { abort(true); });
    }

    void attempt()
    {
        ++m_attempt;
        m_timedOut = m_isTooLong = false;
        m_body.clear();
        m_reply = m_order.verb == "GET" ? m_manager->get(m_request) : m_manager->post(m_request, m_order.payload);
        connect(m_reply, &QNetworkReply::readyRead, this, &Request::read);
        connect(m_reply, &QNetworkReply::finished, this, &Request::end);
        m_timer.start(m_order.timeoutMs);
    }

private:
    void abort(bool timedOut)
    {
        m_timedOut = timedOut;
        m_isTooLong = !timedOut;
        m_reply->abort();
    }

    void read()
    {
        m_body += m_reply->readAll();
        if (m_body.size() > maxAnswerBytes && !m_isTooLong)
            abort(false);
    }

    void end()
    {
        m_timer.stop();
        m_reply->disconnect(this);
        m_reply->deleteLater();
        ApiResponse response;
        response.status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        const QNetworkReply::NetworkError error = m_reply->error();
        if (response.status != 0) {
            takeBody(response);
            finish(response);
            return;
        }
        response.error = m_timedOut ? QStringLiteral("Request timed out") : m_reply->errorString();
        warn(QStringLiteral("transport error (attempt %1/%2): %3")
                 .arg(QString::number(m_attempt), QString::number(m_order.attempts), response.error));
        if (m_attempt < m_order.attempts && isWorthRetrying(error))
            QTimer::singleShot(retryPauseMs, this, &Request::attempt);
        else
            finish(response);
    }

    void takeBody(ApiResponse& response)
    {
        if (m_isTooLong) {
            warn(QStringLiteral("answer longer than %1 bytes, not looked at").arg(maxAnswerBytes));
            return;
        }
        m_body += m_reply->isOpen() ? m_reply->readAll() : QByteArray();
        QJsonParseError problem;
        const QJsonDocument document = QJsonDocument::fromJson(m_body, &problem);
        if (problem.error == QJsonParseError::NoError && document.isObject())
            response.json = document.object();
    }

    void warn(const QString& what) const
    {
        logMessage(LogLevel::Warn, QStringLiteral("api"),
                   QStringLiteral("%1 %2 %3").arg(QString::fromLatin1(m_order.verb), m_order.url, what));
    }

    void finish(const ApiResponse& response)
    {
        deleteLater();
        m_done(response);
    }

    QNetworkAccessManager* m_manager;
    const Order m_order;
    const QNetworkRequest m_request;
    const std::function<void(const ApiResponse&)> m_done;
    QPointer<QNetworkReply> m_reply;
    QByteArray m_body;
    QTimer m_timer;
    int m_attempt = 0;
    bool m_timedOut = false;
    bool m_isTooLong = false;
};

ApiWorker::ApiWorker() = default;

ApiWorker::~ApiWorker() = default;

void ApiWorker::start(const Order& order, std::function<void(const ApiResponse&)> done)
{
    if (!m_manager)
        m_manager = std::make_unique<QNetworkAccessManager>();
    (new Request(m_manager.get(), order, std::move(done)))->attempt();
}

ApiResponse ApiWorker::performRequest(const QByteArray& verb, const QString& fullUrl, const QByteArray& payload,
                                      bool hasBody, const QString& bearer, int timeoutOverrideMs)
{
    Order order{.verb = verb, .url = fullUrl, .payload = payload, .hasBody = hasBody, .bearer = bearer};
    if (timeoutOverrideMs > 0) {
        order.timeoutMs = timeoutOverrideMs;
        order.attempts = 1;
    }
    ApiResponse answer;
    answer.error = QStringLiteral("Request cancelled");
    QEventLoop loop;
    // The request outlives this call if the thread ends during it.
    const QPointer<QEventLoop> waiting(&loop);
    start(order, [&answer, waiting](const ApiResponse& response) {
        if (!waiting)
            return;
        answer = response;
        waiting->quit();
    });
    loop.exec();
    return answer;
}

void ApiWorker::enqueue(quint64 id, const QByteArray& verb, const QString& fullUrl, const QByteArray& payload,
                        bool hasBody, const QString& bearer)
{
    start({.verb = verb, .url = fullUrl, .payload = payload, .hasBody = hasBody, .bearer = bearer},
          [this, id](const ApiResponse& response) { Q_EMIT finished(id, response); });
}

void ApiWorker::shutDown()
{
    m_manager.reset();
}

} // namespace torvelane
