#include "platform/simulated/wmi/SystemRestore.h"

#include "platform/Elevation.h"
#include "platform/Registry.h"
#include "platform/simulated/wmi/WmiDocument.h"

#include <QDateTime>
#include <QUuid>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <span>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

const QString restoreNamespace = u"ROOT\\DEFAULT"_s;
const QString restoreClass = u"SystemRestore"_s;
const QString shadowNamespace = u"ROOT\\CIMV2"_s;
const QString shadowClass = u"Win32_ShadowCopy"_s;

/// The property of a shadow copy, hidden as the system's own, that names its restore point.
const QString pointOfShadow = u"__SequenceNumber"_s;

constexpr HResult invalidMethod{static_cast<qint32>(0x8004102e)};           // WBEM_E_INVALID_METHOD
constexpr HResult invalidMethodParameters{static_cast<qint32>(0x8004102f)}; // WBEM_E_INVALID_METHOD_PARAMETERS
constexpr HResult accessDenied{static_cast<qint32>(0x80041003)};            // WBEM_E_ACCESS_DENIED
constexpr qint32 invalidParameter = 87;                                     // ERROR_INVALID_PARAMETER
constexpr int minutesPerDay = 1440;
constexpr int secondsPerMinute = 60;
/// The clock of the simulated PC: Central European winter time.
constexpr int localOffsetSeconds = 3600;

/// The number of a REG_DWORD below HKLM, or `absent`.
quint32 dwordOr(quint32 absent, const QString& path, const QString& name)
{
    RegistryKey key;
    std::array<std::byte, sizeof(quint32)> data{};
    quint32 type = 0;
    quint32 sizeBytes = 0;
    if (RegistryKey::open(RootKey::LocalMachine, path, KeyAccess::Read, key) != Win32Error::Success
        || key.query(name, data, type, sizeBytes) != Win32Error::Success || type != regDword)
        return absent;
    return qFromLittleEndian<quint32>(data.data());
}

const WmiValue* argument(const QList<WmiProperty>& arguments, QLatin1String name, quint16 type)
{
    const auto found = std::ranges::find_if(
        arguments, [&](const WmiProperty& property) { return property.name == name && property.value.type == type; });
    return found == arguments.end() ? nullptr : &found->value;
}

QString cimText(const QDateTime& moment)
{
    const int minutes = moment.offsetFromUtc() / secondsPerMinute;
    // The system writes UTC with a minus sign.
    return moment.toString(u"yyyyMMddHHmmss.zzz000"_s) + (minutes > 0 ? u'+' : u'-')
        + u"%1"_s.arg(qAbs(minutes), 3, 10, QLatin1Char('0'));
}

/// Of the rows of SystemRestore, which are in UTC.
QDateTime newest(const QJsonArray& points)
{
    QDateTime latest;
    for (const QJsonValue& point : points) {
        QDateTime made = QDateTime::fromString(point["CreationTime"_L1].toString().left(14), u"yyyyMMddHHmmss"_s);
        made.setTimeSpec(Qt::UTC);
        if (made.isValid() && (!latest.isValid() || made > latest))
            latest = made;
    }
    return latest;
}

void appendPoint(QJsonObject& document, QJsonArray points, const QString& description, qint32 type, qint32 event)
{
    int sequence = 0;
    for (const QJsonValue& point : std::as_const(points))
        sequence = std::max(sequence, point["SequenceNumber"_L1].toInt());
    ++sequence;

    const QDateTime now = QDateTime::currentDateTimeUtc();
    points.append(QJsonObject{{u"CreationTime"_s, cimText(now)},
                              {u"Description"_s, description},
                              {u"EventType"_s, event},
                              {u"RestorePointType"_s, type},
                              {u"SequenceNumber"_s, sequence}});
    setRows(document, restoreNamespace, restoreClass, points);

    QJsonArray copies = rowsOf(document, shadowNamespace, shadowClass).value_or(QJsonArray());
    copies.append(QJsonObject{{u"ClientAccessible"_s, true},
                              {u"ID"_s, QUuid::createUuid().toString().toUpper()},
                              {u"InstallDate"_s, cimText(now.toOffsetFromUtc(localOffsetSeconds))},
                              {u"NoWriters"_s, false},
                              {pointOfShadow, sequence}});
    setRows(document, shadowNamespace, shadowClass, copies);
}

HResult createPoint(QJsonObject& document, const RestoreConditions& conditions, const QList<WmiProperty>& arguments)
{
    const WmiValue* const description = argument(arguments, "Description"_L1, vtBstr);
    const WmiValue* const type = argument(arguments, "RestorePointType"_L1, vtI4);
    const WmiValue* const event = argument(arguments, "EventType"_L1, vtI4);
    if (!description || !type || !event)
        return invalidMethodParameters;
    if (!conditions.isEnabled)
        return HResult::ServiceDisabled;
    const QJsonArray points = rowsOf(document, restoreNamespace, restoreClass).value_or(QJsonArray());
    const QDateTime last = newest(points);
    const bool isTooSoon = last.isValid()
        && last.secsTo(QDateTime::currentDateTimeUtc()) < qint64{conditions.frequencyMinutes} * secondsPerMinute;
    // Windows says that it worked, and makes none.
    if (!isTooSoon) {
        appendPoint(document, points, description->text, static_cast<qint32>(type->bits),
                    static_cast<qint32>(event->bits));
    }
    return HResult::Ok;
}

HResult rollBack(QJsonObject& document, const QList<WmiProperty>& arguments, qint32& returnValue)
{
    const WmiValue* const sequence = argument(arguments, "SequenceNumber"_L1, vtI4);
    if (!sequence)
        return invalidMethodParameters;
    const auto number = static_cast<qint32>(sequence->bits);
    const QJsonArray points = rowsOf(document, restoreNamespace, restoreClass).value_or(QJsonArray());
    const bool isThere =
        std::ranges::any_of(points, [number](const QJsonValue& p) { return p["SequenceNumber"_L1].toInt() == number; });
    if (isThere)
        document.insert("rollBackTo"_L1, number);
    else
        returnValue = invalidParameter;
    return HResult::Ok;
}

/// Removes the elements of which the test says so.
template <typename Test>
QJsonArray without(const QJsonArray& rows, Test test)
{
    QJsonArray kept;
    for (const QJsonValue& row : rows) {
        if (!test(row))
            kept.append(row);
    }
    return kept;
}

} // namespace

RestoreConditions restoreConditions()
{
    const QString key = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\SystemRestore"_s;
    const QString policies = u"SOFTWARE\\Policies\\Microsoft\\Windows NT\\SystemRestore"_s;
    constexpr quint32 startDisabled = 4;
    RestoreConditions conditions;
    conditions.isElevated = isElevated();
    conditions.isEnabled = dwordOr(0, key, u"DisableSR"_s) != 1 && dwordOr(0, policies, u"DisableSR"_s) != 1
        && dwordOr(1, key, u"RPSessionInterval"_s) != 0
        && dwordOr(0, u"SYSTEM\\CurrentControlSet\\Services\\VSS"_s, u"Start"_s) != startDisabled;
    conditions.frequencyMinutes =
        static_cast<int>(dwordOr(minutesPerDay, key, u"SystemRestorePointCreationFrequency"_s));
    return conditions;
}

HResult callSystemRestore(QJsonObject& document, const RestoreConditions& conditions, const QString& method,
                          const QList<WmiProperty>& arguments, qint32& returnValue)
{
    if (!conditions.isElevated)
        return accessDenied;
    const QString name = u"SystemRestore."_s + method;
    const QJsonValue scripted = document.value("returnValues"_L1)[name];
    returnValue = scripted.toInt();
    if (!scripted.isUndefined())
        return HResult::Ok;
    if (method == u"CreateRestorePoint")
        return createPoint(document, conditions, arguments);
    if (method == u"Restore")
        return rollBack(document, arguments, returnValue);
    return invalidMethod;
}

ShadowDeletion deleteShadowCopy(QJsonObject& document, const QString& id)
{
    const QJsonArray copies = rowsOf(document, shadowNamespace, shadowClass).value_or(QJsonArray());
    const auto copy = std::ranges::find_if(
        copies, [&id](const QJsonValue& row) { return row["ID"_L1].toString().compare(id, Qt::CaseInsensitive) == 0; });
    if (copy == copies.end())
        return ShadowDeletion::NotFound;
    if (!(*copy)["ClientAccessible"_L1].toBool())
        return ShadowDeletion::OutsideContext;

    const QJsonValue deleted = *copy;
    setRows(document, shadowNamespace, shadowClass,
            without(copies, [&deleted](const QJsonValue& row) { return row == deleted; }));
    const QJsonValue sequence = deleted[pointOfShadow];
    const QJsonArray points = rowsOf(document, restoreNamespace, restoreClass).value_or(QJsonArray());
    setRows(document, restoreNamespace, restoreClass,
            without(points, [&sequence](const QJsonValue& row) { return row["SequenceNumber"_L1] == sequence; }));
    return ShadowDeletion::Deleted;
}

} // namespace torvelane::platform::simulated
