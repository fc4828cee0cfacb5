#include "tweaks/RegistryTweak.h"

#include "core/Log.h"
#include "system/RegistryAccess.h"
#include "system/RegistryJson.h"
#include "tweaks/DesktopNews.h"

#include <QStringList>

#include <algorithm>

namespace torvelane {

namespace {

const QString category = QStringLiteral("tweak");
const QString keyEntries = QStringLiteral("entries");

// Where a value lies: in an operation of the catalogue and in an entry of a capture.
const QString keyHive = QStringLiteral("hive");
const QString keyPath = QStringLiteral("path");
const QString keyName = QStringLiteral("name");

/// Hexadecimal digits as a person pastes them from an exported .reg file: commas, blanks and line continuations are
/// left out.
QByteArray bytesFromHexText(QString text)
{
    text.removeIf([](QChar c) { return QStringView(u", \\\n\r\t").contains(c); });
    return QByteArray::fromHex(text.toLatin1());
}

RegistryOperation parseOperation(const QJsonObject& object)
{
    RegistryOperation operation;
    bool hiveKnown = false;
    operation.hive = parseHive(object.value(keyHive).toString(), &hiveKnown);
    operation.path = object.value(keyPath).toString();
    operation.name = object.value(keyName).toString();
    operation.kind = parseValueKind(object.value(QStringLiteral("valueType")).toString(QStringLiteral("dword")));

    const QJsonValue desired = object.value(QStringLiteral("desired"));
    bool contentUsable = true;
    switch (operation.kind) {
    case RegistryValueKind::Dword:
    case RegistryValueKind::Qword:
        operation.number = unsignedFromJson(desired);
        break;
    case RegistryValueKind::Sz:
    case RegistryValueKind::ExpandSz:
        operation.text = desired.toString();
        break;
    case RegistryValueKind::Binary:
        operation.bytes = bytesFromHexText(desired.toString());
        contentUsable = !operation.bytes.isEmpty();
        break;
    case RegistryValueKind::None:
        contentUsable = false;
        break;
    }
    operation.valid = hiveKnown && !operation.path.isEmpty() && !operation.name.isEmpty() && contentUsable;
    return operation;
}

QJsonObject captureEntry(const RegistryOperation& operation, const RegistryValue& value)
{
    QJsonObject entry = valueToJson(value);
    entry.insert(keyHive, hiveName(operation.hive));
    entry.insert(keyPath, operation.path);
    entry.insert(keyName, operation.name);
    return entry;
}

enum class Match { Yes, No, Unreadable };

/// A value of the right content and another type doesn't match: it is to be written with the wanted type.
Match matchesDesired(const RegistryOperation& operation)
{
    RegistryValue value;
    if (!readValue(operation.hive, operation.path, operation.name, value))
        return Match::Unreadable;
    if (!value.exists || value.kind != operation.kind)
        return Match::No;
    switch (operation.kind) {
    case RegistryValueKind::Sz:
    case RegistryValueKind::ExpandSz:
        return value.text == operation.text ? Match::Yes : Match::No;
    case RegistryValueKind::Binary:
        return value.bytes == operation.bytes ? Match::Yes : Match::No;
    default:
        return value.number == operation.number ? Match::Yes : Match::No;
    }
}

/// Whether a captured value can be put back: no value, or one of a kind that this version writes.
bool isKindKnown(const QJsonObject& entry)
{
    const RegistryValue value = valueFromJson(entry);
    if (value.kind != RegistryValueKind::None)
        return true;
    const QString name = entry.value(QStringLiteral("valueType")).toString();
    return !value.exists && (name.isEmpty() || name == valueKindName(RegistryValueKind::None));
}

bool writeDesired(const RegistryOperation& operation)
{
    switch (operation.kind) {
    case RegistryValueKind::Dword:
        return writeDword(operation.hive, operation.path, operation.name, static_cast<quint32>(operation.number));
    case RegistryValueKind::Qword:
        return writeQword(operation.hive, operation.path, operation.name, operation.number);
    case RegistryValueKind::Sz:
    case RegistryValueKind::ExpandSz:
        return writeString(operation.hive, operation.path, operation.name, operation.text,
                           operation.kind == RegistryValueKind::ExpandSz);
    case RegistryValueKind::Binary:
        return writeBinary(operation.hive, operation.path, operation.name, operation.bytes);
    case RegistryValueKind::None:
        break;
    }
    return false;
}

} // namespace

RegistryTweak::RegistryTweak(const QString& id, const QJsonArray& operations)
    : ITweak(id)
    , m_valid(!operations.isEmpty())
{
    m_operations.reserve(operations.size());
    for (const QJsonValue& element : operations) {
        const RegistryOperation operation = parseOperation(element.toObject());
        if (!operation.valid) {
            m_valid = false;
            logMessage(LogLevel::Error, category, QStringLiteral("%1: invalid registry operation").arg(id));
        }
        m_operations.append(operation);
    }
}

RegistryValue RegistryOperation::wish() const
{
    RegistryValue value{true, kind, 0, {}, {}};
    switch (kind) {
    case RegistryValueKind::Dword:
        value.number = static_cast<quint32>(number);
        break;
    case RegistryValueKind::Qword:
        value.number = number;
        break;
    case RegistryValueKind::Sz:
    case RegistryValueKind::ExpandSz:
        value.text = text;
        break;
    case RegistryValueKind::Binary:
        value.bytes = bytes;
        break;
    case RegistryValueKind::None:
        break;
    }
    return value;
}

QJsonObject RegistryTweak::capture(bool* ok, QString* error)
{
    return captureBy(
        [](const ValuePlace& place, RegistryValue& out, QString* reason) {
            if (readValue(place.hive, place.path, place.name, out))
                return true;
            *reason = QStringLiteral("Failed to read %1").arg(placeText(place));
            return false;
        },
        ok, error);
}

QJsonObject RegistryTweak::capture(const LedgerSession& session, bool* ok, QString* error) const
{
    return captureBy([&session](const ValuePlace& place, RegistryValue& out,
                                QString* reason) { return session.readOriginal(place, out, reason); },
                     ok, error);
}

QJsonObject RegistryTweak::captureBy(const Reader& read, bool* ok, QString* error) const
{
    *ok = true;
    QJsonArray entries;
    for (const RegistryOperation& operation : m_operations) {
        RegistryValue value;
        if (!read(operation.place(), value, error)) {
            *ok = false;
            return {};
        }
        entries.append(captureEntry(operation, value));
    }
    return {{captureTypeKey, tweakTypeRegistry}, {keyEntries, entries}};
}

TweakResult RegistryTweak::apply()
{
    if (!m_valid)
        return TweakResult::failure(QStringLiteral("Tweak definition is invalid"));
    DesktopNews news;
    for (const RegistryOperation& operation : std::as_const(m_operations)) {
        if (matchesDesired(operation) == Match::Yes)
            continue;
        news.valueChanged(operation.hive, operation.path);
        if (!writeDesired(operation))
            return TweakResult::failure(QStringLiteral("Failed to write %1").arg(placeText(operation.place())));
    }
    return TweakResult::success();
}

TweakResult RegistryTweak::revert(const QJsonObject& capture)
{
    return revertCapture(capture, nullptr);
}

bool RegistryTweak::isCurrentlyApplied(bool* ok) const
{
    *ok = true;
    return std::ranges::all_of(m_operations, [ok](const RegistryOperation& operation) {
        const Match match = matchesDesired(operation);
        if (match == Match::Unreadable)
            *ok = false;
        return match == Match::Yes;
    });
}

QList<CapturedValue> RegistryTweak::capturedValues(const QJsonObject& capture)
{
    QList<CapturedValue> values;
    const QJsonArray entries = capture.value(keyEntries).toArray();
    values.reserve(entries.size());
    for (const QJsonValue& element : entries) {
        const QJsonObject entry = element.toObject();
        CapturedValue value;
        value.place.hive = parseHive(entry.value(keyHive).toString(), &value.isPlaceKnown);
        value.place.path = entry.value(keyPath).toString();
        value.place.name = entry.value(keyName).toString();
        if (value.place.path.isEmpty() || value.place.name.isEmpty())
            value.isPlaceKnown = false;
        // A kind of a later version must not pass for no value, which would be deleted.
        if (isKindKnown(entry))
            value.original = valueFromJson(entry);
        values.append(value);
    }
    return values;
}

TweakResult RegistryTweak::revertCapture(const QJsonObject& capture, const QSet<QString>* allowed,
                                         const LedgerSession* session)
{
    const QList<CapturedValue> values = capturedValues(capture);
    if (values.isEmpty())
        return TweakResult::failure(QStringLiteral("Capture is empty; nothing to revert"));

    QStringList failures;
    DesktopNews news;
    for (const auto& [place, isPlaceKnown, original] : values) {
        if (!isPlaceKnown) {
            failures.append(place.name);
            continue;
        }
        if (allowed && !allowed->contains(place.key())) {
            logMessage(LogLevel::Warn, category,
                       QStringLiteral("Rejected out-of-catalog registry restore: %1").arg(placeText(place)));
            continue;
        }
        if (!original) {
            failures.append(place.path + QLatin1Char('\\') + place.name);
            continue;
        }
        news.valueChanged(place.hive, place.path);
        const bool isBack =
            session ? session->putBack(place, *original) : writeValue(place.hive, place.path, place.name, *original);
        if (!isBack)
            failures.append(place.path + QLatin1Char('\\') + place.name);
    }
    if (failures.isEmpty())
        return TweakResult::success();
    return TweakResult::failure(QStringLiteral("Failed to restore: %1").arg(failures.join(QStringLiteral(", "))));
}

QString RegistryTweak::restoreKey(RegistryHive hive, const QString& path, const QString& name)
{
    return ValuePlace{hive, path, name}.key();
}

} // namespace torvelane
