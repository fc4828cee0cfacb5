#include "platform/simulated/wmi/WmiDocument.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <bit>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

struct NamedTag {
    QLatin1String name;
    quint16 tag;
};

constexpr std::array tags = {
    NamedTag{"I2"_L1, vtI2},     NamedTag{"I4"_L1, vtI4},   NamedTag{"R4"_L1, vtR4},   NamedTag{"R8"_L1, vtR8},
    NamedTag{"DATE"_L1, vtDate}, NamedTag{"UI1"_L1, vtUi1}, NamedTag{"UI2"_L1, vtUi2}, NamedTag{"UI4"_L1, vtUi4},
    NamedTag{"I8"_L1, vtI8},     NamedTag{"UI8"_L1, vtUi8},
};

/// {"UI1": 3}; a 64-bit number may be a text.
WmiValue tagged(const QJsonObject& object)
{
    if (object.size() != 1)
        return {.type = vtNull};
    const auto known = std::ranges::find(tags, object.begin().key(), &NamedTag::name);
    if (known == tags.end())
        return {.type = vtNull};
    const QJsonValue content = object.begin().value();
    if (known->tag == vtR4)
        return {.type = vtR4, .bits = std::bit_cast<quint32>(static_cast<float>(content.toDouble()))};
    if (known->tag == vtR8 || known->tag == vtDate)
        return {.type = known->tag, .bits = std::bit_cast<quint64>(content.toDouble())};
    if (content.isString()) {
        const QString digits = content.toString();
        return {.type = known->tag,
                .bits = digits.startsWith(u'-') ? static_cast<quint64>(digits.toLongLong()) : digits.toULongLong()};
    }
    return {.type = known->tag, .bits = static_cast<quint64>(content.toInteger())};
}

} // namespace

std::optional<WqlSelect> parseWql(const QString& wql)
{
    static const QRegularExpression pattern(uR"(^\s*SELECT\s+(\*|\w+(?:\s*,\s*\w+)*)\s+FROM\s+(\w+)\s*$)"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = pattern.match(wql);
    if (!match.hasMatch())
        return std::nullopt;
    WqlSelect select{{}, match.captured(2)};
    if (match.captured(1) != u"*") {
        for (const QString& column : match.captured(1).split(u','))
            select.columns << column.trimmed();
    }
    return select;
}

QString spelledKey(const QJsonObject& object, const QString& name)
{
    const QStringList keys = object.keys();
    const auto found =
        std::ranges::find_if(keys, [&name](const QString& key) { return key.compare(name, Qt::CaseInsensitive) == 0; });
    return found == keys.end() ? QString() : *found;
}

std::optional<QJsonArray> rowsOf(const QJsonObject& document, const QString& namespacePath, const QString& className)
{
    const QJsonObject namespaces = document.value("namespaces"_L1).toObject();
    const QJsonObject classes = namespaces.value(spelledKey(namespaces, namespacePath)).toObject();
    const QString spelled = spelledKey(classes, className);
    return spelled.isEmpty() ? std::nullopt : std::optional(classes.value(spelled).toArray());
}

void setRows(QJsonObject& document, const QString& namespacePath, const QString& className, const QJsonArray& rows)
{
    QJsonObject namespaces = document.value("namespaces"_L1).toObject();
    QJsonObject classes = namespaces.value(spelledKey(namespaces, namespacePath)).toObject();
    classes.insert(spelledKey(classes, className), rows);
    namespaces.insert(spelledKey(namespaces, namespacePath), classes);
    document.insert("namespaces"_L1, namespaces);
}

WmiValue toWmiValue(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::String:
        return {.type = vtBstr, .bits = 0, .text = value.toString()};
    case QJsonValue::Bool:
        return {.type = vtBool, .bits = value.toBool() ? 0xffffU : 0U};
    case QJsonValue::Double:
        return {.type = vtI4, .bits = static_cast<quint32>(value.toInteger())};
    case QJsonValue::Array:
        return {.type = vtArray | vtBstr};
    case QJsonValue::Object:
        return tagged(value.toObject());
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    return {.type = vtNull};
}

WmiObject toWmiObject(const QJsonObject& row, const QStringList& columns)
{
    WmiObject object;
    for (auto property = row.begin(); property != row.end(); ++property) {
        const bool isSelected = columns.isEmpty() || columns.contains(property.key(), Qt::CaseInsensitive);
        if (isSelected && !property.key().startsWith("__"_L1))
            object.append({property.key(), toWmiValue(property.value())});
    }
    return object;
}

} // namespace torvelane::platform::simulated
