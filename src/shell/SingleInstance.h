#pragma once

#include <QObject>
#include <QUrl>

class QLocalServer;
class QLocalSocket;

namespace torvelane {

/// The one instance of this user that may show windows, and the way on which a later one hands it a link. Anyone who
/// runs as the same user can connect, so what arrives is bounded in size and time and is nothing but a link. Main thread.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    explicit SingleInstance(QObject* parent = nullptr);

    /// The first argument that is a link of ours; empty if there is none.
    [[nodiscard]] static QString linkIn(const QStringList& arguments);

    /// Whether another instance runs; if so it has been given `link`, unless that is empty. Blocks up to half a second.
    [[nodiscard]] static bool handOver(const QString& link);

    /// Becomes the first instance: clears the name that a crashed one left behind, and listens.
    void listen();

    /// Longest link that is taken, in bytes.
    static constexpr qint64 maxLinkSizeBytes = 8 * 1024;

Q_SIGNALS:
    void linkReceived(const QUrl& link);

private:
    void takeConnections();
    void readLink(QLocalSocket* socket);

    QLocalServer* m_server;
};

} // namespace torvelane
