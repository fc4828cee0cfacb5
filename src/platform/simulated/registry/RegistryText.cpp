#include "platform/simulated/registry/RegistryText.h"

#include "platform/Registry.h"

#include <QStringDecoder>
#include <QStringEncoder>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

struct TypeName {
    quint32 type;
    QStringView name;
};

constexpr std::array typeNames = {
    TypeName{regNone, u"REG_NONE"},
    TypeName{regSz, u"REG_SZ"},
    TypeName{regExpandSz, u"REG_EXPAND_SZ"},
    TypeName{regBinary, u"REG_BINARY"},
    TypeName{regDword, u"REG_DWORD"},
    TypeName{5, u"REG_DWORD_BIG_ENDIAN"},
    TypeName{6, u"REG_LINK"},
    TypeName{regMultiSz, u"REG_MULTI_SZ"},
    TypeName{8, u"REG_RESOURCE_LIST"},
    TypeName{9, u"REG_FULL_RESOURCE_DESCRIPTOR"},
    TypeName{10, u"REG_RESOURCE_REQUIREMENTS_LIST"},
    TypeName{regQword, u"REG_QWORD"},
};

/// Code units as stored; an odd last byte is left out, as Windows leaves it out.
QString units(const QByteArray& data)
{
    QString text(data.size() / 2, Qt::Uninitialized);
    for (qsizetype i = 0; i < text.size(); ++i)
        text[i] = QChar(qFromLittleEndian<char16_t>(data.constData() + 2 * i));
    return text;
}

void appendUnits(QByteArray& data, QStringView text)
{
    for (const QChar c : text) {
        const char16_t unit = qToLittleEndian(c.unicode());
        data.append(reinterpret_cast<const char*>(&unit), sizeof unit);
    }
}

template <typename Number>
QByteArray numberData(Number number)
{
    const Number stored = qToLittleEndian(number);
    return QByteArray(reinterpret_cast<const char*>(&stored), sizeof stored);
}

QString hex(const QByteArray& data)
{
    return QString::fromLatin1(data.toHex().toUpper());
}

std::optional<quint64> numberFromText(const QString& text, quint64 limit)
{
    bool ok = false;
    const bool isHex = text.startsWith("0x"_L1, Qt::CaseInsensitive);
    const quint64 number = isHex ? text.sliced(2).toULongLong(&ok, 16) : text.toULongLong(&ok, 10);
    if (!ok || number > limit)
        return std::nullopt;
    return number;
}

std::optional<QByteArray> bytesFromHex(const QString& text)
{
    const bool isHex = std::ranges::all_of(
        text, [](QChar c) { return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F'); });
    if (!isHex || text.size() % 2 != 0)
        return std::nullopt;
    return QByteArray::fromHex(text.toLatin1());
}

} // namespace

QString typeName(quint32 type)
{
    const auto found = std::ranges::find(typeNames, type, &TypeName::type);
    return found == typeNames.end() ? u"0x%1"_s.arg(type, 0, 16) : found->name.toString();
}

std::optional<quint32> typeFromName(const QString& name)
{
    const auto found = std::ranges::find_if(
        typeNames, [&name](const TypeName& entry) { return entry.name.compare(name, Qt::CaseInsensitive) == 0; });
    if (found == typeNames.end())
        return std::nullopt;
    return found->type;
}

QByteArray stringData(QStringView text)
{
    QByteArray data;
    data.reserve(2 * text.size() + 2);
    appendUnits(data, text);
    data.append(2, '\0');
    return data;
}

QByteArray multiStringData(const QStringList& texts)
{
    QByteArray data;
    for (const QString& text : texts)
        data += stringData(text);
    data.append(2, '\0');
    return data;
}

QByteArray dwordData(quint32 number)
{
    return numberData(number);
}

QByteArray qwordData(quint64 number)
{
    return numberData(number);
}

QString dataText(quint32 type, const QByteArray& data)
{
    switch (type) {
    case regSz:
    case regExpandSz: {
        const QString text = units(data);
        return text.first(
            std::max(qsizetype(0), text.indexOf(QChar::Null) < 0 ? text.size() : text.indexOf(QChar::Null)));
    }
    case regMultiSz: {
        QStringList texts = units(data).split(QChar::Null);
        while (!texts.isEmpty() && texts.last().isEmpty())
            texts.removeLast();
        return texts.join("\\0"_L1);
    }
    case regDword:
        return data.size() == 4 ? u"0x%1"_s.arg(qFromLittleEndian<quint32>(data.constData()), 0, 16) : hex(data);
    case regQword:
        return data.size() == 8 ? u"0x%1"_s.arg(qFromLittleEndian<quint64>(data.constData()), 0, 16) : hex(data);
    default:
        return hex(data);
    }
}

std::optional<QByteArray> dataFromText(quint32 type, const QString& text, const QString& separator)
{
    switch (type) {
    case regSz:
    case regExpandSz:
        return stringData(text);
    case regMultiSz:
        return multiStringData(text.split(separator, Qt::SkipEmptyParts));
    case regDword: {
        const auto number = numberFromText(text, std::numeric_limits<quint32>::max());
        return number ? std::optional(dwordData(static_cast<quint32>(*number))) : std::nullopt;
    }
    case regQword: {
        const auto number = numberFromText(text, std::numeric_limits<quint64>::max());
        return number ? std::optional(qwordData(*number)) : std::nullopt;
    }
    default:
        return bytesFromHex(text);
    }
}

} // namespace torvelane::platform::simulated
