#include "shell/SingleInstance.h"

#include "core/Log.h"
#include "core/Paths.h"
#include "system/MachineLock.h"

#include <QDeadlineTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStringList>
#include <QThread>
#include <QTimer>

#include <algorithm>

namespace torvelane {

namespace {

const QString serverName = QStringLiteral("torvelane-singleton");
const QString linkScheme = QStringLiteral("torvelane://");
constexpr int waitMs = 250;
constexpr int silentInstanceMs = 5000;
constexpr int pollIntervalMs = 20;

/// A client that connects and says nothing is let go after this.
constexpr int silentClientMs = 2000;

} // namespace

SingleInstance::SingleInstance(QObject* parent) : QObject(parent), m_server(new QLocalServer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::takeConnections);
}

QString SingleInstance::linkIn(const QStringList& arguments)
{
    const auto found = std::ranges::find_if(
        arguments, [](const QString& argument) { return argument.startsWith(linkScheme, Qt::CaseSensitive); });
    return found == arguments.end() ? QString() : *found;
}

bool SingleInstance::claim(const QString& link)
{
    using platform::Win32Error;
    if (m_lock.open(Paths::lockFile()) != Win32Error::Success)
        return !handOver(link);
    for (const QDeadlineTimer deadline(silentInstanceMs); !deadline.hasExpired(); QThread::msleep(pollIntervalMs)) {
        if (m_lock.tryLock(static_cast<quint32>(LockSlot::Windows)) == Win32Error::Success)
            return true;
        if (handOver(link))
            return false;
    }
    logMessage(LogLevel::Warn, QStringLiteral("shell"),
               QStringLiteral("Another instance is starting or ending and doesn't answer; this one ends"));
    return false;
}

bool SingleInstance::handOver(const QString& link)
{
    QLocalSocket socket;
    socket.connectToServer(serverName, QIODevice::ReadWrite);
    if (!socket.waitForConnected(waitMs))
        return false;
    if (!link.isEmpty()) {
        socket.write(link.toUtf8());
        socket.flush();
        socket.waitForBytesWritten(waitMs);
    }
    socket.disconnectFromServer();
    return true;
}

void SingleInstance::listen()
{
    QLocalServer::removeServer(serverName);
    m_server->listen(serverName);
}

void SingleInstance::takeConnections()
{
    while (QLocalSocket* const socket = m_server->nextPendingConnection()) {
        socket->setReadBufferSize(maxLinkSizeBytes + 1);
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readLink(socket); });
        QTimer::singleShot(silentClientMs, socket, [socket] {
            socket->abort();
            socket->deleteLater();
        });
        // Data from before this slot ran has already been announced.
        if (socket->bytesAvailable() > 0)
            readLink(socket);
        else if (socket->state() != QLocalSocket::ConnectedState)
            socket->deleteLater();
    }
}

void SingleInstance::readLink(QLocalSocket* socket)
{
    const QByteArray message = socket->read(maxLinkSizeBytes + 1);
    socket->disconnectFromServer();
    const QString text = QString::fromUtf8(message).trimmed();
    // Half of a link would lead elsewhere.
    if (message.size() <= maxLinkSizeBytes && text.startsWith(linkScheme, Qt::CaseSensitive))
        Q_EMIT linkReceived(QUrl(text, QUrl::TolerantMode));
}

} // namespace torvelane
