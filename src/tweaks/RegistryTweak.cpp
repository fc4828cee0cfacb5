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

QString valueLocation(RegistryHive hive, const QString& path, const QString& name)
{
    return QStringLiteral("%1\\%2 [%3]").arg(hiveName(hive), path, name);
}

QString valueLocation(const RegistryOperation& operation)
{
    return valueLocation(operation.hive, operation.path, operation.name);
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

QJsonObject RegistryTweak::capture(bool* ok, QString* error)
{
    *ok = true;
    QJsonArray entries;
    for (const RegistryOperation& operation : std::as_const(m_operations)) {
        RegistryValue value;
        if (!readValue(operation.hive, operation.path, operation.name, value)) {
            *ok = false;
            *error = QStringLiteral("Failed to read %1").arg(valueLocation(operation));
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
            return TweakResult::failure(QStringLiteral("Failed to write %1").arg(valueLocation(operation)));
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

TweakResult RegistryTweak::revertCapture(const QJsonObject& capture, const QSet<QString>* allowed)
{
    const QJsonArray entries = capture.value(keyEntries).toArray();
    if (entries.isEmpty())
        return TweakResult::failure(QStringLiteral("Capture is empty; nothing to revert"));

    QStringList failures;
    DesktopNews news;
    for (const QJsonValue& element : entries) {
        const QJsonObject entry = element.toObject();
        bool hiveKnown = false;
        const RegistryHive hive = parseHive(entry.value(keyHive).toString(), &hiveKnown);
        const QString path = entry.value(keyPath).toString();
        const QString name = entry.value(keyName).toString();
        if (!hiveKnown || path.isEmpty() || name.isEmpty()) {
            failures.append(name);
            continue;
        }
        if (allowed && !allowed->contains(restoreKey(hive, path, name))) {
            logMessage(
                LogLevel::Warn, category,
                QStringLiteral("Rejected out-of-catalog registry restore: %1").arg(valueLocation(hive, path, name)));
            continue;
        }
        // A kind of a later version must not pass for no value, which would be deleted.
        if (!isKindKnown(entry)) {
            failures.append(path + QLatin1Char('\\') + name);
            continue;
        }
        news.valueChanged(hive, path);
        if (!writeValue(hive, path, name, valueFromJson(entry)))
            failures.append(path + QLatin1Char('\\') + name);
    }
    if (failures.isEmpty())
        return TweakResult::success();
    return TweakResult::failure(QStringLiteral("Failed to restore: %1").arg(failures.join(QStringLiteral(", "))));
}

QString RegistryTweak::restoreKey(RegistryHive hive, const QString& path, const QString& name)
{
    return hiveName(hive) + QLatin1Char('|') + path.toLower() + QLatin1Char('|') + name.toLower();
}

} // namespace torvelane
