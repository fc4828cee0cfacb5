#include "FuzzMachine.h"
#include "restore/CimDateTime.h"
#include "system/WmiRow.h"

#include <cstring>

using namespace torvelane;
using namespace torvelane::platform;

namespace {

/// Reads the input as one object after the other: a name's length, a tag, eight bytes of a union and, for texts, what is
/// left as UTF-16.
class Reader {
public:
    Reader(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) { }

    [[nodiscard]] bool atEnd() const { return m_left == 0; }

    template <typename Number>
    Number number()
    {
        Number value{};
        const std::size_t count = std::min(sizeof(value), m_left);
        std::memcpy(&value, m_data, count);
        m_data += count;
        m_left -= count;
        return value;
    }

    QString text(std::size_t units)
    {
        QString text;
        for (; units > 0 && m_left > 0; --units)
            text.append(QChar(number<char16_t>()));
        return text;
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_left;
};

} // namespace

/// What the system's providers hand out: rows of any values, among them moments. Every value reads as a text, one that is
/// no text as a number or a truth value or nothing, and a moment as valid only if it begins with one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Reader reader(data, size);
    WmiObject object;
    while (!reader.atEnd()) {
        WmiProperty property{reader.text(reader.number<std::uint8_t>() % 8), {}};
        property.value.type = reader.number<quint16>() % 32;
        property.value.bits = reader.number<quint64>();
        property.value.text = reader.text(reader.number<std::uint8_t>() % 40);
        object.append(property);

        const QDateTime moment = parseCimDateTime(property.value.text);
        if (moment.isValid())
            fuzz::require(moment.toString(QStringLiteral("yyyyMMddHHmmss")) == property.value.text.first(14));
    }
    const WmiRow row = toWmiRow(object);
    for (const WmiProperty& property : std::as_const(object)) {
        const QString text = variantToText(property.value);
        fuzz::require(row.contains(property.name));
        if (property.value.type != vtBstr && property.value.type != vtBool && !text.isEmpty()) {
            bool isNumber = false;
            const bool isNegative = text.startsWith(QLatin1Char('-'));
            const quint64 bits =
                isNegative ? static_cast<quint64>(text.toLongLong(&isNumber)) : text.toULongLong(&isNumber);
            fuzz::require(isNumber);
            fuzz::require(property.value.type == vtI2 || property.value.type == vtUi2
                              ? static_cast<quint16>(bits) == static_cast<quint16>(property.value.bits)
                              : static_cast<quint32>(bits) == static_cast<quint32>(property.value.bits));
        }
    }
    return 0;
}
