#pragma once

#include "platform/LockFile.h"

#include <QObject>
#include <QUrl>

class QLocalServer;
class QLocalSocket;

namespace torvelane {

/// The one instance of this user that may show windows, and the way on which a later one hands it a link. A lock decides
/// which one that is, so that of several starts at one moment one goes on, and nobody can pass for it. Anyone who
/// runs as the same user can connect, so input is bounded in size and time and is nothing but a link. Main thread.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    explicit SingleInstance(QObject* parent = nullptr);

    /// The first argument that is a link of ours; empty if there is none.
    [[nodiscard]] static QString linkIn(const QStringList& arguments);

    /// Whether this instance may show windows, for as long as the object lives. Otherwise another one has been given
    /// `link`, unless that is empty. Returns at once, but for five seconds at the most while the other one is starting
    /// or ending and doesn't answer.
    [[nodiscard]] bool claim(const QString& link);

    /// After claim: clears the name that a crashed instance left behind, and listens.
    void listen();

    /// Whether somebody listens; if so it has been given `link`, unless that is empty. Blocks up to half a second.
    [[nodiscard]] static bool handOver(const QString& link);

    /// Longest link that is taken, in bytes.
    static constexpr qint64 maxLinkSizeBytes = 8 * 1024;

Q_SIGNALS:
    void linkReceived(const QUrl& link);

private:
    void takeConnections();
    void readLink(QLocalSocket* socket);

    QLocalServer* m_server;
    platform::LockFile m_lock;
};

} // namespace torvelane
