#include "restore/RestorePoint.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "platform/ChildProcess.h"
#include "platform/ConsoleText.h"
#include "restore/CimDateTime.h"
#include "system/WmiSession.h"

#include <algorithm>
#include <limits>

namespace torvelane::RestorePoint {

using platform::hexDigits;
using platform::systemToolPath;
using platform::WmiMethodStage;

namespace {

/// How far a shadow copy's time may be off the point's.
constexpr qint64 toleranceMs = 120000;
constexpr qint64 msPerSecond = 1000;

struct ClosestCopy {
    QString id;
    qint64 distanceMs = std::numeric_limits<qint64>::max();
};

void logInfo(const QString& message)
{
    logMessage(LogLevel::Info, QStringLiteral("restore"), message);
}

bool fail(const QString& message, QString* error)
{
    if (error)
        *error = message;
    logMessage(LogLevel::Warn, QStringLiteral("restore"), message);
    return false;
}

/// Of two that are equally far the first one.
ClosestCopy closestCopy(const QList<WmiRow>& rows, const QDateTime& to)
{
    ClosestCopy closest;
    for (const WmiRow& row : rows) {
        const QDateTime installed = parseCimDateTime(row.value(QStringLiteral("InstallDate")).toString());
        if (!installed.isValid())
            continue;
        const qint64 distanceMs = qAbs(installed.msecsTo(to));
        if (distanceMs < closest.distanceMs)
            closest = {row.value(QStringLiteral("ID")).toString(), distanceMs};
    }
    return closest;
}

bool deleteCopy(quint32 sequenceNumber, const QString& id, QString* error)
{
    using Outcome = platform::ChildProcessResult::Outcome;

    const auto result = platform::runChildProcess({systemToolPath(QStringLiteral("vssadmin.exe")),
                                                   {QStringLiteral("delete"), QStringLiteral("shadows"),
                                                    QStringLiteral("/shadow=") + id, QStringLiteral("/quiet")},
                                                   {}},
                                                  {}, platform::ErrorOutput::Separate);
    if (result.outcome == Outcome::NotStarted)
        return fail(QStringLiteral("Could not start vssadmin to delete the restore point"), error);
    // One that runs into its limit counts as done, as with PowerShell.
    if (result.outcome == Outcome::TimedOut || (result.outcome == Outcome::Finished && result.exitCode == 0)) {
        logInfo(
            QStringLiteral("Deleted restore point sequence %1 (shadow %2)").arg(QString::number(sequenceNumber), id));
        return true;
    }
    const QString said = platform::decodeConsoleText(result.output + result.errorOutput).trimmed();
    return fail(said.isEmpty() ? QStringLiteral("vssadmin failed (admin required?)") : said, error);
}

/// The reason of a call that was made and didn't arm the roll back; empty if the system gave none.
QString reasonOf(const platform::WmiMethodResult& call)
{
    if (call.stage == WmiMethodStage::Result)
        return {};
    if (call.stage == WmiMethodStage::Done)
        return translate("RestorePoint", "Restore returned %1").arg(static_cast<qint32>(call.returnValue.bits));
    return translate("RestorePoint", "ExecMethod failed (0x%1)").arg(hexDigits(call.code));
}

void scheduleRestart()
{
    const bool started = platform::startDetached(
        {systemToolPath(QStringLiteral("shutdown.exe")),
         {QStringLiteral("/r"), QStringLiteral("/t"), QStringLiteral("10"), QStringLiteral("/c"),
          QStringLiteral("Torvelane: restoring Windows to a restore point.")},
         {}});
    if (!started) {
        logMessage(LogLevel::Warn, QStringLiteral("restore"),
                   QStringLiteral("Restore initiated but could not schedule the reboot"));
    }
}

} // namespace

QList<RestorePointInfo> listPoints(QString* error)
{
    const auto refuse = [error](const QString& message) {
        if (error)
            *error = message;
        return QList<RestorePointInfo>();
    };

    WmiSession session;
    QString reason;
    if (!session.connect(QStringLiteral("ROOT\\DEFAULT"), &reason))
        return refuse(translate("RestorePoint", "System Restore WMI unavailable: %1").arg(reason));
    const QList<WmiRow> rows = session.query(QStringLiteral("SELECT * FROM SystemRestore"), &reason);
    if (rows.isEmpty() && !reason.isEmpty())
        return refuse(translate("RestorePoint", "Could not read restore points: %1").arg(reason));

    QList<RestorePointInfo> points;
    for (const WmiRow& row : rows) {
        const auto text = [&row](const char* name) { return row.value(QLatin1String(name)).toString(); };
        points.append({.sequenceNumber = text("SequenceNumber").toUInt(),
                       .description = text("Description"),
                       .creationTime = parseCimDateTime(text("CreationTime")),
                       .restorePointType = text("RestorePointType").toUInt(),
                       .eventType = text("EventType").toUInt()});
    }
    logInfo(QStringLiteral("SystemRestore enumeration returned %1 point(s)").arg(points.size()));
    std::ranges::sort(points, std::ranges::greater(), &RestorePointInfo::sequenceNumber);
    return points;
}

bool deletePoint(quint32 sequenceNumber, const QDateTime& creationTime, QString* error)
{
    if (!creationTime.isValid())
        return fail(QStringLiteral("Cannot delete: the restore point has no usable creation time"), error);

    WmiSession session;
    QString reason;
    if (!session.connect(QStringLiteral("ROOT\\CIMV2"), &reason))
        return fail(QStringLiteral("WMI unavailable: ") + reason, error);
    const QList<WmiRow> rows = session.query(QStringLiteral("SELECT ID, InstallDate FROM Win32_ShadowCopy"), &reason);
    if (rows.isEmpty()) {
        return fail(reason.isEmpty() ? translate("RestorePoint", "No shadow copies found to delete")
                                     : translate("RestorePoint", "Could not enumerate shadow copies: %1").arg(reason),
                    error);
    }

    const ClosestCopy closest = closestCopy(rows, creationTime);
    if (closest.id.isEmpty() || closest.distanceMs > toleranceMs) {
        const bool hasDate = closest.distanceMs != std::numeric_limits<qint64>::max();
        return fail(translate("RestorePoint",
                              "Could not confidently locate the shadow copy for this restore point (closest match off "
                              "by %1 s)")
                        .arg(hasDate ? closest.distanceMs / msPerSecond : 0),
                    error);
    }
    return deleteCopy(sequenceNumber, closest.id, error);
}

bool restoreTo(quint32 sequenceNumber, bool reboot, QString* error)
{
    WmiSession session;
    QString reason;
    if (!session.connect(QStringLiteral("ROOT\\DEFAULT"), &reason))
        return fail(QStringLiteral("System Restore WMI unavailable: ") + reason, error);

    const auto call =
        session.callMethod(QStringLiteral("SystemRestore"), QStringLiteral("Restore"),
                           {{QStringLiteral("SequenceNumber"), {.type = platform::vtI4, .bits = sequenceNumber}}});
    if (call.stage == WmiMethodStage::Services)
        return fail(QStringLiteral("System Restore WMI service is null"), error);
    if (call.stage == WmiMethodStage::Class) {
        return fail(
            translate("RestorePoint", "System Protection appears disabled (GetObject 0x%1)").arg(hexDigits(call.code)),
            error);
    }
    if (call.stage == WmiMethodStage::Method)
        return fail(QStringLiteral("Restore method unavailable"), error);
    if (call.stage != WmiMethodStage::Done || static_cast<qint32>(call.returnValue.bits) != 0) {
        reason = reasonOf(call);
        return fail(QStringLiteral("Restore not initiated: ")
                        + (reason.isEmpty() ? QStringLiteral("unknown error") : reason),
                    error);
    }

    logInfo(QStringLiteral("System Restore initiated for sequence %1").arg(sequenceNumber));
    if (reboot)
        scheduleRestart();
    return true;
}

} // namespace torvelane::RestorePoint
