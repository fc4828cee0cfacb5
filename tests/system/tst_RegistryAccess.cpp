#include "support/Suite.h"
#include "system/RegistryJson.h"

#include <cmath>
#include <string>

using namespace torvelane::platform;
using Kind = RegistryValueKind;

namespace {

constexpr RegistryHive hkcu = RegistryHive::CurrentUser;
const QString name = u"Value"_s;

RegistryValue readBack(const QString& path = scratchKey)
{
    RegistryValue value{true, Kind::Qword, 5, {}, {}};
    return readValue(hkcu, path, name, value) ? value : RegistryValue{true, Kind::None, 0, u"refused"_s, {}};
}

} // namespace

class tst_RegistryAccess : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void conversions()
    {
        const QString accented = u"\u00c9t\u00e9 \U0001f600"_s;
        const QByteArray several = utf16(u"one"_s) + utf16(u"two"_s, 2);
        // Windows likes to take the terminator behind it along.
        const QByteArray unended = QByteArray::fromRawData(reinterpret_cast<const char*>(u"abc"), 6);
        const struct {
            RawValue stored;
            RegistryValue value;
            bool isWrittenSo = false;
        } rows[] = {
            {{regSz, utf16(accented)}, {true, Kind::Sz, 0, accented, {}}, true},
            {{regSz, utf16({})}, {true, Kind::Sz, 0, {}, {}}, true},
            {{regSz, unended}, {true, Kind::Sz, 0, u"abc"_s, {}}},
            {{regSz, utf16(u"a\0b"_s, 3)}, {true, Kind::Sz, 0, u"a\0b"_s, {}}},
            {{regSz, utf16(u"abc"_s, 0) + 'd'}, {true, Kind::Sz, 0, u"abc"_s, {}}},
            {{regSz, "a"}, {true, Kind::Sz, 0, {}, {}}},
            {{regExpandSz, utf16(u"%A%"_s)}, {true, Kind::ExpandSz, 0, u"%A%"_s, {}}, true},
            {{regDword, dwordBytes(0xfedcba98)}, {true, Kind::Dword, 0xfedcba98, {}, {}}, true},
            {{regDword, "\1\2\3"}, {true, Kind::Dword, 0, {}, {}}},
            {{regDword, dwordBytes(7) + dwordBytes(9)}, {true, Kind::Dword, 7, {}, {}}},
            {{regQword, dwordBytes(7) + dwordBytes(1U << 31)}, {true, Kind::Qword, (1ULL << 63) + 7, {}, {}}, true},
            {{regQword, "1234567"}, {true, Kind::Qword, 0, {}, {}}},
            {{regBinary, {}}, {true, Kind::Binary, 0, {}, {}}, true},
            {{regBinary, QByteArray(257, 'x')}, {true, Kind::Binary, 0, {}, QByteArray(257, 'x')}, true},
            {{regMultiSz, several}, {true, Kind::Binary, 0, {}, several}},
            {{regNone, "\1\0"_ba}, {true, Kind::Binary, 0, {}, "\1\0"_ba}},
            {{5, dwordBytes(1)}, {true, Kind::Binary, 0, {}, dwordBytes(1)}},
        };
        const QString path = scratchKey + u"\\Made\\On\\The Way"_s;
        for (const auto& row : rows) {
            const std::string shown = "row " + std::to_string(&row - rows);
            putRaw(name, row.stored);
            QVERIFY2(rawValue(name) == row.stored, shown.c_str());
            QVERIFY2(readBack() == row.value, shown.c_str());
            for (const QString& valueName : {name, QString()}) {
                if (!row.isWrittenSo)
                    continue;
                QVERIFY(writeValue(hkcu, path, valueName, row.value));
                QVERIFY2(rawValue(valueName.toUpper(), path.toUpper()) == row.stored, shown.c_str());
                putRaw(valueName, {regMultiSz, "another type"}, path);
                QVERIFY(writeValue(hkcu, path.toLower(), valueName.toLower(), row.value));
                QVERIFY2(rawValue(valueName, path) == row.stored, shown.c_str());
                QVERIFY(deleteValue(hkcu, path, valueName) && !rawValue(valueName, path));
            }
        }
    }

    void absences()
    {
        putRaw(u"Neighbour"_s, {regDword, dwordBytes(1)});
        for (const QString& gone : {QString(), u"\\Gone"_s, u"\\Gone\\Further\\Away"_s}) {
            QCOMPARE(readBack(scratchKey + gone), RegistryValue());
            QVERIFY(deleteValue(hkcu, scratchKey + gone, name));
            QVERIFY(writeValue(hkcu, scratchKey + gone, name, {}));
        }
        QCOMPARE(m_machine->log.lines(), QStringList());
        for (const auto& absent : {RegistryValue{false, Kind::Dword, 5, {}, {}}, {true, Kind::None, 5, {}, {}}}) {
            putRaw(name, {regDword, dwordBytes(1)});
            QVERIFY(writeValue(hkcu, scratchKey, name, absent));
            QVERIFY(!rawValue(name));
        }
        QCOMPARE(rawValue(u"Neighbour"_s)->data, dwordBytes(1));
    }

    void numbersFromJson()
    {
        constexpr quint64 twoTo63 = 1ULL << 63;
        for (const auto& [json, expected] : {std::pair<QJsonValue, quint64>(u"1"_s, 0),
                                             {1.9, 1},
                                             {0x1p63, twoTo63},
                                             {std::nextafter(0x1p64, 0), ~quint64(0) - 2047},
                                             {0x1p64, ~quint64(0)},
                                             {-1, ~quint64(0)},
                                             {-0x1p63, twoTo63},
                                             {-1e300, 0}})
            QCOMPARE(unsignedFromJson(json), expected);
    }
};

QTEST_GUILESS_MAIN(tst_RegistryAccess)
#include "tst_RegistryAccess.moc"
