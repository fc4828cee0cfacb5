#pragma once

#include "net/ApiResponse.h"

#include <QHash>
#include <QObject>
#include <QPointer>

#include <functional>

class QThread;

namespace torvelane {

class ApiWorker;

/// The transport to the backend: JSON objects by POST, to a path under one base URL. It knows nothing of paths or of
/// what the JSON means. Owns a thread, "ApiClientWorker", on which all of its network work happens; its own functions
/// belong to one thread, the GUI's, but for postBlocking.
class ApiClient : public QObject {
    Q_OBJECT

public:
    using Callback = std::function<void(const ApiResponse&)>;

    explicit ApiClient(const QString& baseUrl, QObject* parent = nullptr);

    /// Ends at once what is in flight, without its callbacks.
    ~ApiClient() override;

    /// Sends and returns. `path` is appended to the base URL as it stands; an empty `bearer` means none. `callback`
    /// runs on this object's thread, once, if `owner` is still there; without an owner, never.
    void postAsync(const QString& path, const QJsonObject& body, const QString& bearer, QObject* owner,
                   const Callback& callback);

    /// Sends and waits, `timeoutMs` at most, with one attempt. Never from the worker's own thread, where it would wait
    /// for itself: that is an assertion, and in an optimised build an error.
    [[nodiscard]] ApiResponse postBlocking(const QString& path, const QJsonObject& body, const QString& bearer,
                                           int timeoutMs);

private:
    struct Pending {
        QPointer<QObject> owner;
        Callback callback;
    };

    void onWorkerFinished(quint64 id, const torvelane::ApiResponse& resp);

    const QString m_baseUrl;
    QThread* m_thread;
    ApiWorker* m_worker;
    quint64 m_nextId = 0; ///< The last one given out.
    QHash<quint64, Pending> m_pending;
};

} // namespace torvelane
