#include "platform/Registry.h"
#include "registry/RegistryAccess.h"
#include "registry/RegistryJson.h"
#include "support/ScratchMachine.h"

#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using Kind = RegistryValueKind;

namespace {

constexpr RegistryHive hkcu = RegistryHive::CurrentUser;
const QString name = u"Value"_s;

RegistryValue number(Kind kind, quint64 number)
{
    return {.exists = true, .kind = kind, .number = number, .text = {}, .bytes = {}};
}

RegistryValue text(Kind kind, const QString& text)
{
    return {.exists = true, .kind = kind, .number = 0, .text = text, .bytes = {}};
}

RegistryValue binary(const QByteArray& bytes)
{
    return {.exists = true, .kind = Kind::Binary, .number = 0, .text = {}, .bytes = bytes};
}

/// Bytes that all differ from their neighbours, so that a shifted or cut copy shows.
QByteArray pattern(int sizeBytes)
{
    QByteArray bytes;
    for (int i = 0; i < sizeBytes; ++i)
        bytes.append(static_cast<char>(i % 251));
    return bytes;
}

} // namespace

class tst_RegistryAccess : public QObject {
    Q_OBJECT

private:
    std::optional<ScratchMachine> m_machine;

private Q_SLOTS:
    void init() { m_machine.emplace(); }
    void cleanup()
    {
        setHkcuUserSid({});
        m_machine.reset();
    }

    void conversions_data()
    {
        QTest::addColumn<quint32>("type");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<RegistryValue>("expected");
        const auto row = [](const char* title, quint32 type, const QByteArray& data, const RegistryValue& expected) {
            QTest::newRow(title) << type << data << expected;
        };
        using namespace platform;
        const QString accented = u"\u00c9t\u00e9 \U0001f600"_s;
        row("sz", regSz, utf16(accented), text(Kind::Sz, accented));
        row("sz without terminator", regSz, utf16(u"abc"_s, 0), text(Kind::Sz, u"abc"_s));
        row("sz with three terminators", regSz, utf16(u"abc"_s, 3), text(Kind::Sz, u"abc"_s));
        row("sz with a NUL inside", regSz, utf16(u"a"_s) + utf16(u"b"_s), text(Kind::Sz, u"a\0b"_s));
        row("sz of an odd size", regSz, utf16(u"abc"_s, 0) + 'd', text(Kind::Sz, u"abc"_s));
        row("sz of one byte", regSz, "a", text(Kind::Sz, {}));
        row("sz of nothing", regSz, {}, text(Kind::Sz, {}));
        row("sz of a terminator", regSz, utf16({}), text(Kind::Sz, {}));
        row("sz of 256 bytes", regSz, utf16(QString(127, u'x')), text(Kind::Sz, QString(127, u'x')));
        row("sz of 70000 bytes", regSz, utf16(QString(34999, u'x')), text(Kind::Sz, QString(34999, u'x')));
        row("expand_sz", regExpandSz, utf16(u"%TEMP%\\a"_s), text(Kind::ExpandSz, u"%TEMP%\\a"_s));
        row("dword", regDword, dwordBytes(0xfedcba98), number(Kind::Dword, 0xfedcba98));
        row("dword of 3 bytes", regDword, "\1\2\3", number(Kind::Dword, 0));
        row("dword of 8 bytes", regDword, dwordBytes(7) + dwordBytes(9), number(Kind::Dword, 7));
        row("qword", regQword, dwordBytes(7) + dwordBytes(0x80000000), number(Kind::Qword, 0x80000000'00000007));
        row("qword of 7 bytes", regQword, "1234567", number(Kind::Qword, 0));
        for (const int size : {0, 255, 256, 257, 70000})
            row(qPrintable(u"binary of %1 bytes"_s.arg(size)), regBinary, pattern(size), binary(pattern(size)));
        const QByteArray several = utf16(u"one"_s) + utf16(u"two"_s, 2);
        row("multi_sz", regMultiSz, several, binary(several));
        row("none", regNone, "\1\0"_ba, binary("\1\0"_ba));
        row("big-endian dword", 5, dwordBytes(1), binary(dwordBytes(1)));
    }

    void conversions()
    {
        QFETCH(quint32, type);
        QFETCH(QByteArray, data);
        putRaw(name, {type, data});
        RegistryValue value = number(Kind::Qword, 5);
        QVERIFY(readValue(hkcu, scratchKey, name, value));
        QTEST(value, "expected");
    }

    void absences_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("value") << scratchKey;
        QTest::newRow("key") << scratchKey + u"\\Gone"_s;
        QTest::newRow("parents") << scratchKey + u"\\Gone\\Further\\Away"_s;
    }

    void absences()
    {
        QFETCH(QString, path);
        putRaw(u"Neighbour"_s, {platform::regDword, dwordBytes(1)});
        RegistryValue value = number(Kind::Dword, 5);
        QVERIFY(readValue(hkcu, path, name, value));
        QCOMPARE(value, RegistryValue());
        QVERIFY(deleteValue(hkcu, path, name));
        QVERIFY(writeValue(hkcu, path, name, {}));
        QCOMPARE(m_machine->log.lines(), QStringList());
        QCOMPARE(rawValue(u"Neighbour"_s)->data, dwordBytes(1));
    }

    void writing_data()
    {
        QTest::addColumn<RegistryValue>("value");
        QTest::addColumn<quint32>("type");
        QTest::addColumn<QByteArray>("data");
        const auto row = [](const char* title, const RegistryValue& value, quint32 type, const QByteArray& data) {
            QTest::newRow(title) << value << type << data;
        };
        using namespace platform;
        row("dword keeps the low half", number(Kind::Dword, 0x5'fffffffe), regDword, dwordBytes(0xfffffffe));
        row("qword", number(Kind::Qword, 0x5'fffffffe), regQword, dwordBytes(0xfffffffe) + dwordBytes(5));
        row("sz", text(Kind::Sz, u"\u00e9"_s), regSz, "\xe9\0\0\0"_ba);
        row("empty sz", text(Kind::Sz, {}), regSz, "\0\0"_ba);
        row("expand_sz", text(Kind::ExpandSz, u"%A%"_s), regExpandSz, utf16(u"%A%"_s));
        row("binary", binary("\0\1"_ba), regBinary, "\0\1"_ba);
        row("empty binary", binary({}), regBinary, {});
    }

    /// Into keys that aren't there yet, under the unnamed value too, and over a value of another type.
    void writing()
    {
        QFETCH(RegistryValue, value);
        const QString path = scratchKey + u"\\Made\\On\\The Way"_s;
        for (const QString& valueName : {name, QString()}) {
            QVERIFY(writeValue(hkcu, path, valueName, value));
            const auto raw = rawValue(valueName.toUpper(), path.toUpper());
            QVERIFY(raw);
            QTEST(raw->type, "type");
            QTEST(raw->data, "data");
            RegistryValue again;
            QVERIFY(writeBinary(hkcu, path, valueName, "another type"));
            QVERIFY(writeValue(hkcu, path.toLower(), valueName.toLower(), value));
            QCOMPARE(rawValue(valueName, path), raw);
            QVERIFY(deleteValue(hkcu, path, valueName));
            QVERIFY(!rawValue(valueName, path));
        }
    }

    void valuesThatDelete_data()
    {
        QTest::addColumn<RegistryValue>("value");
        QTest::newRow("absent") << RegistryValue();
        QTest::newRow("absent with content") << RegistryValue{false, Kind::Dword, 5, {}, {}};
        QTest::newRow("of no kind") << RegistryValue{true, Kind::None, 5, {}, {}};
    }

    void valuesThatDelete()
    {
        QFETCH(RegistryValue, value);
        putRaw(name, {platform::regDword, dwordBytes(1)});
        QVERIFY(!writeValue(hkcu, scratchKey, name, number(static_cast<Kind>(6), 2)));
        QCOMPARE(rawValue(name)->data, dwordBytes(1));
        QVERIFY(writeValue(hkcu, scratchKey, name, value));
        QVERIFY(!rawValue(name));
    }

    void anotherUsersHive()
    {
        const QString otherPath = u".DEFAULT\\"_s + scratchKey;
        setHkcuUserSid(u".DEFAULT"_s);
        QVERIFY(writeDword(hkcu, scratchKey, name, 5));
        QVERIFY(!rawValue(name));
        setHkcuUserSid({});
        RegistryValue value;
        QVERIFY(readValue(RegistryHive::Users, otherPath, name, value));
        QCOMPARE(value, number(Kind::Dword, 5));
        setHkcuUserSid(u".DEFAULT"_s);
        QVERIFY(deleteValue(hkcu, scratchKey, name));
        setHkcuUserSid({});
        QVERIFY(readValue(RegistryHive::Users, otherPath, name, value));
        QVERIFY(!value.exists);
    }

    void numbers_data()
    {
        QTest::addColumn<QJsonValue>("json");
        QTest::addColumn<quint64>("expected");
        constexpr quint64 twoTo63 = 1ULL << 63;
        QTest::newRow("32 bits set") << QJsonValue(4294967295.0) << quint64(4294967295);
        QTest::newRow("fraction") << QJsonValue(1.9) << quint64(1);
        QTest::newRow("largest below 2^63") << QJsonValue(std::nextafter(0x1p63, 0)) << twoTo63 - 1024;
        QTest::newRow("2^63") << QJsonValue(0x1p63) << twoTo63;
        QTest::newRow("largest below 2^64") << QJsonValue(std::nextafter(0x1p64, 0)) << ~quint64(0) - 2047;
        QTest::newRow("2^64") << QJsonValue(0x1p64) << ~quint64(0);
        QTest::newRow("far too large") << QJsonValue(1e300) << ~quint64(0);
        QTest::newRow("minus one") << QJsonValue(-1) << ~quint64(0);
        QTest::newRow("-2^63") << QJsonValue(-0x1p63) << twoTo63;
        QTest::newRow("far too small") << QJsonValue(-1e300) << quint64(0);
        QTest::newRow("string") << QJsonValue(u"1"_s) << quint64(0);
        QTest::newRow("bool") << QJsonValue(true) << quint64(0);
        QTest::newRow("none") << QJsonValue(QJsonValue::Undefined) << quint64(0);
    }

    void numbers()
    {
        QFETCH(QJsonValue, json);
        QTEST(unsignedFromJson(json), "expected");
    }
};

QTEST_GUILESS_MAIN(tst_RegistryAccess)
#include "tst_RegistryAccess.moc"
