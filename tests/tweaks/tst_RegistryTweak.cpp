#include "platform/Registry.h"
#include "support/ScratchMachine.h"
#include "tweaks/RegistryTweak.h"

#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using namespace torvelane::platform;

namespace {

/// One operation on the scratch key.
QJsonObject operation(const QString& name, const QString& kind, const QJsonValue& desired)
{
    return {{u"hive"_s, u"HKCU"_s},
            {u"path"_s, scratchKey},
            {u"name"_s, name},
            {u"valueType"_s, kind},
            {u"desired"_s, desired}};
}

/// One entry of a capture that sets a dword in the scratch key.
QJsonObject entry(const QString& hive, const QString& path, const QString& name, int number)
{
    return {
        {u"hive"_s, hive},    {u"path"_s, path}, {u"name"_s, name}, {u"exists"_s, true}, {u"valueType"_s, u"dword"_s},
        {u"number"_s, number}};
}

QJsonObject captureOf(const QJsonArray& entries)
{
    return {{u"type"_s, u"registry"_s}, {u"entries"_s, entries}};
}

QJsonObject captured(RegistryTweak& tweak)
{
    bool ok = false;
    QString error;
    const QJsonObject capture = tweak.capture(&ok, &error);
    return ok ? capture : QJsonObject();
}

} // namespace

class tst_RegistryTweak : public QObject {
    Q_OBJECT

private:
    std::optional<ScratchMachine> m_machine;

private Q_SLOTS:
    void init() { m_machine.emplace(); }
    void cleanup() { m_machine.reset(); }

    void originalsComeBack_data()
    {
        QTest::addColumn<std::optional<RawValue>>("original");
        QTest::addColumn<QJsonObject>("wanted");
        const auto row = [](const char* title, std::optional<RawValue> original, const QString& kind,
                            const QJsonValue& desired) {
            QTest::newRow(title) << original << operation(u"A"_s, kind, desired);
        };
        using Raw = RawValue;
        row("absent", std::nullopt, u"dword"_s, 1);
        row("text where a number is wanted", Raw{regSz, utf16(u"1"_s)}, u"dword"_s, 1);
        row("number where text is wanted", Raw{regDword, dwordBytes(1)}, u"sz"_s, u"1"_s);
        row("other number", Raw{regDword, dwordBytes(0xffffffff)}, u"dword"_s, 1);
        row("small qword", Raw{regQword, dwordBytes(7) + dwordBytes(1)}, u"dword"_s, 7);
        row("empty text", Raw{regSz, utf16({})}, u"expand_sz"_s, u"%A%"_s);
        row("expanding text", Raw{regExpandSz, utf16(u"%A%"_s)}, u"sz"_s, u"%A%"_s);
        row("no bytes", Raw{regBinary, {}}, u"binary"_s, u"00"_s);
        row("bytes", Raw{regBinary, "\0\xff"_ba}, u"qword"_s, 255);
        row("already as wanted", Raw{regDword, dwordBytes(1)}, u"dword"_s, 1);
    }

    void originalsComeBack()
    {
        QFETCH(std::optional<RawValue>, original);
        QFETCH(QJsonObject, wanted);
        if (original)
            putRaw(u"A"_s, *original);
        putRaw(u"Neighbour"_s, {regDword, dwordBytes(5)});
        RegistryTweak tweak(u"t"_s, {wanted, operation(u"B"_s, u"dword"_s, 2)});

        const auto before = scratchImage();
        const QJsonObject capture = captured(tweak);
        QCOMPARE(scratchImage(), before);
        QVERIFY(tweak.apply().ok);
        bool ok = false;
        QVERIFY(tweak.isCurrentlyApplied(&ok) && ok);
        // Through text, as in the state store, and twice, as after a crash.
        const QJsonObject stored = QJsonDocument::fromJson(QJsonDocument(capture).toJson()).object();
        QVERIFY(tweak.revert(stored).ok);
        QVERIFY(tweak.revert(stored).ok);
        QCOMPARE(scratchImage(), before);
    }

    /// What the format can't hold, as it is meant to be: foreign types come back as bytes, and of a qword 53 bits.
    void limitsOfCaptures()
    {
        const QByteArray bytes = utf16(u"one"_s) + utf16(u"two"_s, 2);
        putRaw(u"A"_s, {regMultiSz, bytes});
        putRaw(u"B"_s, {regQword, dwordBytes(1) + dwordBytes(0x200000)});
        RegistryTweak tweak(u"t"_s, {operation(u"A"_s, u"dword"_s, 1), operation(u"B"_s, u"dword"_s, 1)});
        const QJsonObject capture = captured(tweak);
        QVERIFY(tweak.apply().ok && tweak.revert(capture).ok);
        QCOMPARE(rawValue(u"A"_s), (RawValue{regBinary, bytes}));
        QCOMPARE(rawValue(u"B"_s), (RawValue{regQword, dwordBytes(0) + dwordBytes(0x200000)}));
    }

    void captureFormat()
    {
        putRaw(u"A"_s, {regExpandSz, utf16(u"%x%\u00e9"_s)});
        putRaw(u"B"_s, {regBinary, "\0\xaf"_ba});
        putRaw(u"C"_s, {regDword, dwordBytes(0xffffffff)});
        QJsonArray operations;
        for (const QString& name : {u"A"_s, u"B"_s, u"C"_s, u"D"_s})
            operations.append(operation(name, u"sz"_s, u"y"_s));
        RegistryTweak tweak(u"t"_s, operations);
        QByteArray expected = R"({"type": "registry", "entries": [
            {@ "name": "A", "exists": true, "valueType": "expand_sz", "number": 0, "text": "%x%\u00e9", "binary": ""},
            {@ "name": "B", "exists": true, "valueType": "binary", "number": 0, "text": "", "binary": "00af"},
            {@ "name": "C", "exists": true, "valueType": "dword", "number": 4294967295, "text": "", "binary": ""},
            {@ "name": "D", "exists": false, "valueType": "none", "number": 0, "text": "", "binary": ""}]})";
        expected.replace("@", R"("hive": "HKCU", "path": "Software\\Torvelane\\Test",)");
        QCOMPARE(captured(tweak), QJsonDocument::fromJson(expected).object());
    }

    void matches_data()
    {
        QTest::addColumn<RawValue>("present");
        QTest::addColumn<QJsonObject>("wanted");
        QTest::addColumn<bool>("matching");
        const auto row = [](const char* title, const RawValue& present, const QString& kind, const QJsonValue& desired,
                            bool matching) {
            QTest::newRow(title) << present << operation(u"A"_s, kind, desired) << matching;
        };
        // The unusual bytes show whether a matching value was written over.
        row("text with many terminators", {regSz, utf16(u"a"_s, 3)}, u"sz"_s, u"a"_s, true);
        row("text in another case", {regSz, utf16(u"A"_s)}, u"sz"_s, u"a"_s, false);
        row("text with a blank", {regSz, utf16(u"a "_s)}, u"sz"_s, u"a"_s, false);
        row("text of another kind", {regExpandSz, utf16(u"a"_s)}, u"sz"_s, u"a"_s, false);
        row("expanding text", {regExpandSz, utf16(u"a"_s, 0)}, u"expand_sz"_s, u"a"_s, true);
        row("long dword", {regDword, dwordBytes(1) + dwordBytes(9)}, u"dword"_s, 1, true);
        row("dword where a qword is wanted", {regDword, dwordBytes(1)}, u"qword"_s, 1, false);
        row("digit where a dword is wanted", {regSz, utf16(u"1"_s)}, u"dword"_s, 1, false);
        row("bytes", {regBinary, "\1\2"}, u"binary"_s, u"01,02"_s, true);
        row("fewer bytes", {regBinary, "\1"}, u"binary"_s, u"01,02"_s, false);
        row("dword as bytes", {regBinary, dwordBytes(1)}, u"dword"_s, 1, false);
    }

    void matches()
    {
        QFETCH(RawValue, present);
        QFETCH(QJsonObject, wanted);
        QFETCH(bool, matching);
        putRaw(u"A"_s, present);
        // Windows may have added a terminator.
        const auto stored = rawValue(u"A"_s);
        RegistryTweak tweak(u"t"_s, {wanted});
        bool ok = false;
        QCOMPARE(tweak.isCurrentlyApplied(&ok), matching);
        QVERIFY(ok);
        QVERIFY(tweak.apply().ok);
        QVERIFY(tweak.isCurrentlyApplied(&ok));
        QCOMPARE(rawValue(u"A"_s) == stored, matching);
    }

    void definitionsWithoutEffect()
    {
        RegistryTweak invalid(u"t"_s, {operation(u"A"_s, u"dword"_s, 1), QJsonObject()});
        QCOMPARE(invalid.apply().message, u"Tweak definition is invalid"_s);
        QVERIFY(!rawValue(u"A"_s));
        const RegistryTweak empty(u"t"_s, {});
        bool ok = false;
        QVERIFY(!empty.isValid() && empty.isCurrentlyApplied(&ok) && ok);
    }

    void badEntries_data()
    {
        QTest::addColumn<QJsonObject>("capture");
        QTest::addColumn<QString>("message");
        const QJsonObject first = entry(u"HKCU"_s, scratchKey, u"First"_s, 1);
        const QJsonObject last = entry(u"HKCU"_s, scratchKey, u"Last"_s, 2);
        const auto row = [&](const char* title, const QJsonValue& bad, const QString& message) {
            QTest::newRow(title) << captureOf({first, bad, last}) << message;
        };
        row("unknown hive", entry(u"HKXX"_s, scratchKey, u"Bad"_s, 3), u"Failed to restore: Bad"_s);
        row("no path", entry(u"HKCU"_s, {}, u"Bad"_s, 3), u"Failed to restore: Bad"_s);
        row("no name", entry(u"HKCU"_s, scratchKey, {}, 3), u"Failed to restore: "_s);
        row("no object", 5, u"Failed to restore: "_s);
        // A path with a NUL is one that either machine refuses.
        row("refused", entry(u"HKCU"_s, u"A\0B"_s, u"Bad"_s, 3), u"Failed to restore: A\0B\\Bad"_s);
        QTest::newRow("two of them") << captureOf(
            {entry({}, scratchKey, u"One"_s, 3), first, entry({}, scratchKey, u"Two"_s, 3), last})
                                     << u"Failed to restore: One, Two"_s;
    }

    void badEntries()
    {
        QFETCH(QJsonObject, capture);
        const TweakResult result = RegistryTweak::revertCapture(capture, nullptr);
        QVERIFY(!result.ok);
        QTEST(result.message, "message");
        QCOMPARE(rawValue(u"First"_s), (RawValue{regDword, dwordBytes(1)}));
        QCOMPARE(rawValue(u"Last"_s), (RawValue{regDword, dwordBytes(2)}));
        QVERIFY(!rawValue(u"Bad"_s));
    }

    void emptyCaptures()
    {
        for (const QJsonObject& capture : {QJsonObject(), captureOf({}), QJsonObject{{u"entries"_s, 5}}}) {
            const TweakResult result = RegistryTweak::revertCapture(capture, nullptr);
            QVERIFY(!result.ok);
            QCOMPARE(result.message, u"Capture is empty; nothing to revert"_s);
        }
    }

    void gate_data()
    {
        QTest::addColumn<QSet<QString>>("allowed");
        QTest::addColumn<bool>("passes");
        QTest::newRow("nothing allowed") << QSet<QString>() << false;
        QTest::newRow("lower case") << QSet<QString>{u"HKCU|software\\torvelane\\test|value"_s} << true;
        QTest::newRow("hive in another case") << QSet<QString>{u"hkcu|software\\torvelane\\test|value"_s} << false;
        QTest::newRow("other name") << QSet<QString>{u"HKCU|software\\torvelane\\test|value2"_s} << false;
    }

    void gate()
    {
        QFETCH(QSet<QString>, allowed);
        QFETCH(bool, passes);
        const QString path = scratchKey.toUpper();
        const TweakResult result =
            RegistryTweak::revertCapture(captureOf({entry(u"hkey_current_user"_s, path, u"Value"_s, 1)}), &allowed);
        QVERIFY(result.ok);
        QCOMPARE(rawValue(u"Value"_s).has_value(), passes);
        const QString line = u"[WARN] tweak: Rejected out-of-catalog registry restore: HKCU\\%1 [Value]"_s.arg(path);
        QCOMPARE(m_machine->log.lines(), passes ? QStringList() : QStringList(line));
    }
};

QTEST_GUILESS_MAIN(tst_RegistryTweak)
#include "tst_RegistryTweak.moc"
