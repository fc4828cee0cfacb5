#include "net/ApiClient.h"

#include "net/ApiWorker.h"

#include <QJsonDocument>
#include <QThread>

namespace torvelane {

namespace {

const QByteArray verb = QByteArrayLiteral("POST");

QByteArray payloadOf(const QJsonObject& body)
{
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

} // namespace

ApiClient::ApiClient(const QString& baseUrl, QObject* parent)
    : QObject(parent)
    , m_baseUrl(baseUrl)
    , m_thread(new QThread(this))
    , m_worker(new ApiWorker)
{
    qRegisterMetaType<ApiResponse>("torvelane::ApiResponse");
    m_thread->setObjectName(QStringLiteral("ApiClientWorker"));
    m_worker->moveToThread(m_thread);
    connect(m_worker, &ApiWorker::finished, this, &ApiClient::onWorkerFinished, Qt::QueuedConnection);
    // On the thread that ends, since what the worker made lives there.
    connect(m_thread, &QThread::finished, m_worker, &ApiWorker::shutDown, Qt::DirectConnection);
    m_thread->start();
}

ApiClient::~ApiClient()
{
    m_thread->quit();
    m_thread->wait();
    delete m_worker;
}

void ApiClient::postAsync(const QString& path, const QJsonObject& body, const QString& bearer, QObject* owner,
                          const Callback& callback)
{
    const quint64 id = ++m_nextId;
    m_pending.insert(id, {owner, callback});
    QMetaObject::invokeMethod(
        m_worker,
        [worker = m_worker, id, url = QString(m_baseUrl + path), payload = payloadOf(body), bearer] {
            worker->enqueue(id, verb, url, payload, true, bearer);
        },
        Qt::QueuedConnection);
}

ApiResponse ApiClient::postBlocking(const QString& path, const QJsonObject& body, const QString& bearer, int timeoutMs)
{
    const bool wouldWaitForItself = QThread::currentThread() == m_thread;
    Q_ASSERT_X(!wouldWaitForItself, "ApiClient::postBlocking", "called on the worker's own thread");
    ApiResponse response;
    if (wouldWaitForItself) {
        response.error = QStringLiteral("postBlocking on the worker's own thread");
        return response;
    }
    QMetaObject::invokeMethod(
        m_worker,
        [&] { response = m_worker->performRequest(verb, m_baseUrl + path, payloadOf(body), true, bearer, timeoutMs); },
        Qt::BlockingQueuedConnection);
    return response;
}

void ApiClient::onWorkerFinished(quint64 id, const ApiResponse& resp)
{
    const Pending pending = m_pending.take(id);
    if (pending.owner && pending.callback)
        pending.callback(resp);
}

} // namespace torvelane
