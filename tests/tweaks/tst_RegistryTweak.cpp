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

/// A capture of dwords, each given by hive, path and name, and all of them 1.
QJsonObject captureOf(const QList<QStringList>& values)
{
    QJsonArray entries;
    for (const QStringList& value : values) {
        QJsonObject entry = operation(value[2], u"dword"_s, {});
        entry.insert(u"hive"_s, value[0]);
        entry.insert(u"path"_s, value[1]);
        entry.insert(u"exists"_s, true);
        entry.insert(u"number"_s, 1);
        entries.append(entry);
    }
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
        const auto row = [](const char* title, const std::optional<RawValue>& original, const QString& kind,
                            const QJsonValue& desired) {
            QTest::newRow(title) << original << operation(u"A"_s, kind, desired);
        };
        using Raw = RawValue;
        row("absent", std::nullopt, u"dword"_s, 1);
        row("text where a number is wanted", Raw{regSz, utf16(u"1"_s)}, u"dword"_s, 1);
        row("number where text is wanted", Raw{regDword, dwordBytes(0xffffffff)}, u"sz"_s, u"1"_s);
        row("small qword", Raw{regQword, dwordBytes(7) + dwordBytes(1)}, u"dword"_s, 7);
        row("empty text", Raw{regSz, utf16({})}, u"expand_sz"_s, u"%A%"_s);
        row("expanding text", Raw{regExpandSz, utf16(u"%A%"_s)}, u"sz"_s, u"%A%"_s);
        row("no bytes", Raw{regBinary, {}}, u"binary"_s, u"00"_s);
        row("bytes", Raw{regBinary, "\0\xff"_ba}, u"qword"_s, 255);
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

    /// Another version of the program has to restore what this one stored.
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

    /// What is right already isn't written over, which the unusual bytes show; a value of another type is never right.
    void matches()
    {
        const struct {
            RawValue present;
            QString kind;
            QJsonValue desired;
            bool matching;
        } cases[] = {
            {{regSz, utf16(u"a"_s, 3)}, u"sz"_s, u"a"_s, true},
            {{regSz, utf16(u"A"_s)}, u"sz"_s, u"a"_s, false},
            {{regExpandSz, utf16(u"a"_s)}, u"sz"_s, u"a"_s, false},
            {{regExpandSz, utf16(u"a"_s, 0)}, u"expand_sz"_s, u"a"_s, true},
            {{regDword, dwordBytes(1) + dwordBytes(9)}, u"dword"_s, 1, true},
            {{regDword, dwordBytes(1)}, u"qword"_s, 1, false},
            {{regSz, utf16(u"1"_s)}, u"dword"_s, 1, false},
            {{regBinary, "\1\2"}, u"binary"_s, u"01,02"_s, true},
            {{regBinary, "\1"}, u"binary"_s, u"01,02"_s, false},
        };
        for (const auto& [present, kind, desired, matching] : cases) {
            putRaw(u"A"_s, present);
            const auto stored = rawValue(u"A"_s); // Windows may have added a terminator.
            RegistryTweak tweak(u"t"_s, {operation(u"A"_s, kind, desired)});
            bool ok = false;
            const bool matched = tweak.isCurrentlyApplied(&ok);
            const bool applied = tweak.apply().ok && tweak.isCurrentlyApplied(&ok);
            const QByteArray what = kind.toLatin1() + " over " + present.data.toHex();
            QVERIFY2(ok && applied && matched == matching && (rawValue(u"A"_s) == stored) == matching,
                     what.constData());
        }
    }

    void invalidTweakChangesNothing()
    {
        RegistryTweak tweak(u"t"_s, {operation(u"A"_s, u"dword"_s, 1), QJsonObject()});
        QCOMPARE(tweak.apply().message, u"Tweak definition is invalid"_s);
        QVERIFY(!rawValue(u"A"_s));
    }

    /// One that can't be restored doesn't keep back the others.
    void badEntries()
    {
        const QString hkcu = u"HKCU"_s;
        const std::pair<QStringList, QString> cases[] = {
            {{u"HKXX"_s, scratchKey, u"Bad"_s}, u"Bad"_s},
            {{hkcu, {}, u"Bad"_s}, u"Bad"_s},
            {{hkcu, scratchKey, {}}, {}},
            {{hkcu, u"A\0B"_s, u"Bad"_s}, u"A\0B\\Bad"_s}, // Either machine refuses a path with a NUL.
        };
        for (const auto& [bad, told] : cases) {
            putRaw(u"First"_s, {regDword, dwordBytes(7)});
            putRaw(u"Last"_s, {regDword, dwordBytes(7)});
            const QJsonObject capture =
                captureOf({{hkcu, scratchKey, u"First"_s}, bad, bad, {hkcu, scratchKey, u"Last"_s}});
            const TweakResult result = RegistryTweak::revertCapture(capture, nullptr);
            QVERIFY(!result.ok);
            QCOMPARE(result.message, u"Failed to restore: %1, %1"_s.arg(told));
            const RawValue one{regDword, dwordBytes(1)};
            QCOMPARE(scratchImage(), (QMap<QString, RawValue>{{u"First"_s, one}, {u"Last"_s, one}}));
        }
        for (const QJsonObject& capture : {QJsonObject(), captureOf({}), QJsonObject{{u"entries"_s, 5}}}) {
            QCOMPARE(RegistryTweak::revertCapture(capture, nullptr).message, u"Capture is empty; nothing to revert"_s);
        }
    }

    /// Held to a list of allowed values, a restore leaves the others alone and tells.
    void allowedValues()
    {
        const QString path = scratchKey.toUpper();
        const QJsonObject capture = captureOf({{u"hkey_current_user"_s, path, u"Value"_s}});
        for (const QString& other :
             {QString(), u"hkcu|software\\torvelane\\test|value"_s, u"HKCU|software\\torvelane\\test|value2"_s}) {
            const QSet<QString> allowed{other};
            const LogCapture log;
            QVERIFY(RegistryTweak::revertCapture(capture, &allowed).ok);
            QVERIFY(!rawValue(u"Value"_s));
            QCOMPARE(
                log.lines(),
                QStringList(u"[WARN] tweak: Rejected out-of-catalog registry restore: HKCU\\%1 [Value]"_s.arg(path)));
        }
        const QSet<QString> allowed{u"HKCU|software\\torvelane\\test|value"_s};
        QVERIFY(RegistryTweak::revertCapture(capture, &allowed).ok);
        QVERIFY(rawValue(u"Value"_s));
    }
};

QTEST_GUILESS_MAIN(tst_RegistryTweak)
#include "tst_RegistryTweak.moc"
