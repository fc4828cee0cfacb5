#include "system/WmiSession.h"

#include "core/Log.h"

#include <mutex>

namespace torvelane {

using platform::hexDigits;
using platform::HResult;

namespace {

void logWarning(const QString& message)
{
    logMessage(LogLevel::Warn, QStringLiteral("wmi"), message);
}

bool fail(const QString& message, QString* error)
{
    if (error)
        *error = message;
    logWarning(message);
    return false;
}

/// Once in the process, whatever comes of it; other threads wait until it is done.
void initializeSecurityOnce()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const HResult code = platform::WmiConnection::initializeSecurity();
        // Too late only means that another user of COM in this process was first.
        if (failed(code) && code != HResult::RpcTooLate)
            logWarning(QStringLiteral("CoInitializeSecurity failed (0x%1)").arg(hexDigits(code)));
    });
}

} // namespace

bool WmiSession::connect(const QString& namespacePath, QString* error)
{
    HResult code = m_connection.initializeCom();
    if (code != HResult::Ok && code != HResult::False && code != HResult::RpcChangedMode)
        return fail(QStringLiteral("CoInitializeEx failed (0x%1)").arg(hexDigits(code)), error);
    initializeSecurityOnce();

    code = m_connection.createLocator();
    if (failed(code))
        return fail(QStringLiteral("CoCreateInstance(WbemLocator) failed (0x%1)").arg(hexDigits(code)), error);
    code = m_connection.connectServer(namespacePath);
    if (failed(code))
        return fail(QStringLiteral("ConnectServer(%1) failed (0x%2)").arg(namespacePath, hexDigits(code)), error);
    code = m_connection.setProxyBlanket();
    if (failed(code))
        return fail(QStringLiteral("CoSetProxyBlanket failed (0x%1)").arg(hexDigits(code)), error);
    return true;
}

QList<WmiRow> WmiSession::query(const QString& wql, QString* error)
{
    const auto refuse = [error](const QString& message) {
        if (error)
            *error = message;
        return QList<WmiRow>();
    };
    if (!m_connection.hasServices())
        return refuse(QStringLiteral("WMI not connected"));
    const platform::WmiQueryResult result = m_connection.query(wql);
    if (failed(result.code) || !result.hasEnumerator)
        return refuse(QStringLiteral("ExecQuery failed (0x%1)").arg(hexDigits(result.code)));

    QList<WmiRow> rows;
    rows.reserve(result.objects.size());
    for (const platform::WmiObject& object : result.objects)
        rows.append(toWmiRow(object));
    return rows;
}

platform::WmiMethodResult WmiSession::callMethod(const QString& className, const QString& method,
                                                 const QList<platform::WmiProperty>& arguments)
{
    return m_connection.callMethod(className, method, arguments);
}

} // namespace torvelane
