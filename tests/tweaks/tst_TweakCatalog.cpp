#include "support/Suite.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/TweakCatalog.h"

#include <QLocale>

using namespace torvelane::platform;

namespace {

/// "@" stands for the hive and the path of the scratch key.
QJsonObject fromJson(QByteArray json)
{
    json.replace("@", R"("hive": "HKCU", "path": "Software\\Torvelane\\Test")");
    return QJsonDocument::fromJson(json).object();
}

QJsonObject captureOf(const QByteArray& entries)
{
    return fromJson(R"({"type": "registry", "entries": [)" + entries + "]}");
}

/// A command that leaves a value in the scratch key.
QString store(const QString& name)
{
    return u"reg add \"HKCU\\%1\" /v \"%2\" /f"_s.arg(scratchKey, name);
}

} // namespace

/// Both kinds of tweak, and the catalogue that makes them: in French, since the language is worked out once in a process.
class tst_TweakCatalog : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::French)); }

    /// Another version of the program has to restore captures of this one.
    void captureFormat()
    {
        putRaw(u"A"_s, {regExpandSz, utf16(u"%x%\u00e9"_s)});
        putRaw(u"B"_s, {regBinary, "\0\xaf"_ba});
        putRaw(u"C"_s, {regDword, dwordBytes(0xffffffff)});
        const QJsonObject capture = captureOf(R"(
            {@, "name": "A", "exists": true, "valueType": "expand_sz", "number": 0, "text": "%x%\u00e9", "binary": ""},
            {@, "name": "B", "exists": true, "valueType": "binary", "number": 0, "text": "", "binary": "00af"},
            {@, "name": "C", "exists": true, "valueType": "dword", "number": 4294967295, "text": "", "binary": ""},
            {@, "name": "D", "exists": false, "valueType": "none", "number": 0, "text": "", "binary": ""})");
        QJsonArray operations;
        for (const char name : {'A', 'B', 'C', 'D'})
            operations.append(fromJson(QByteArray(R"({@, "desired": 1, "name": ")") + name + "\"}"));
        const auto before = scratchImage();
        RegistryTweak tweak(u"t"_s, operations);
        bool ok = false;
        QString error;
        QCOMPARE(tweak.capture(&ok, &error), capture);
        QVERIFY(ok && tweak.apply().ok && tweak.isCurrentlyApplied(&ok) && ok);
        QVERIFY(tweak.revert(capture).ok);
        QCOMPARE(scratchImage(), before);
    }

    /// A right value isn't written over, which the unusual bytes show; a value of another type is never right.
    void matches()
    {
        const std::tuple<QByteArray, RawValue, bool> cases[] = {
            {R"("sz", "desired": "a")", {regSz, utf16(u"a"_s, 3)}, true},
            {R"("sz", "desired": "a")", {regSz, utf16(u"A"_s)}, false},
            {R"("sz", "desired": "a")", {regExpandSz, utf16(u"a"_s)}, false},
            {R"("dword", "desired": 1)", {regDword, dwordBytes(1) + dwordBytes(9)}, true},
            {R"("dword", "desired": 1)", {regSz, utf16(u"1"_s)}, false},
            {R"("qword", "desired": 1)", {regDword, dwordBytes(1)}, false},
            {R"("binary", "desired": "01,02")", {regBinary, "\1\2"}, true},
        };
        for (const auto& [wanted, present, matching] : cases) {
            putRaw(u"A"_s, present);
            const auto stored = rawValue(u"A"_s); // Windows may have added a terminator.
            RegistryTweak tweak(u"t"_s, {fromJson(R"({@, "name": "A", "valueType": )" + wanted + "}")});
            bool ok = false;
            const bool matched = tweak.isCurrentlyApplied(&ok);
            const bool applied = tweak.apply().ok && tweak.isCurrentlyApplied(&ok);
            QVERIFY2(ok && applied && matched == matching && (rawValue(u"A"_s) == stored) == matching,
                     qPrintable(QString::fromLatin1(wanted)));
        }
        RegistryTweak invalid(u"t"_s, {fromJson(R"({@, "name": "B", "desired": 1})"), QJsonObject()});
        QVERIFY(!invalid.apply().ok && !rawValue(u"B"_s));
    }

    /// One that can't be restored doesn't keep back the others.
    void badEntries()
    {
        const std::pair<QByteArray, QString> cases[] = {
            {R"({@, "name": "Bad", "exists": true, "valueType": "dword", "hive": "HKXX"})", u"Bad"_s},
            {R"({@, "exists": true, "valueType": "dword"})", QString()},
            {R"({"hive": "HKCU", "name": "Bad", "exists": true, "valueType": "dword"})", u"Bad"_s},
            // Either machine refuses a path with a NUL.
            {R"({"hive": "HKCU", "path": "A\u0000B", "name": "Bad", "exists": true, "valueType": "dword"})",
             u"A\0B\\Bad"_s},
        };
        const RawValue one{regDword, dwordBytes(1)};
        for (const auto& [bad, told] : cases) {
            putRaw(u"First"_s, {regDword, dwordBytes(7)});
            const QByteArray last = R"({@, "name": "Last", "exists": true, "valueType": "dword", "number": 1})";
            const TweakResult result = RegistryTweak::revertCapture(
                captureOf(R"({@, "name": "First"},)" + bad + "," + bad + "," + last), nullptr);
            QVERIFY(!result.ok);
            QCOMPARE(result.message, u"Failed to restore: %1, %1"_s.arg(told));
            QCOMPARE(scratchImage(), (QMap<QString, RawValue>{{u"Last"_s, one}}));
        }
        for (const QJsonObject& capture : {QJsonObject(), captureOf({}), QJsonObject{{u"entries"_s, 5}}})
            QVERIFY(!RegistryTweak::revertCapture(capture, nullptr).ok);
    }

    /// In order, up to the first that can't be run, each with the user in place of the placeholder.
    void commandLists()
    {
        setBootContext(false, u"S-1"_s);
        QStringList run;
        const auto runner = [&run](const QString& command, QString* error) {
            run.append(command);
            *error = u"failed "_s + command;
            return command != u"bad";
        };
        QVERIFY(runCommandList({u"b"_s, u"a %TORV_SID%\\%TORV_SID% %torv_sid%"_s, u"b"_s}, runner).ok);
        const TweakResult result = runCommandList({u"c"_s, u"bad"_s, u"never"_s}, runner);
        QVERIFY(!result.ok);
        QCOMPARE(result.message, u"failed bad"_s);
        setBootContext(false, {});
        QCOMPARE(run, QStringList({u"b"_s, u"a S-1\\S-1 %torv_sid%"_s, u"b"_s, u"c"_s, u"bad"_s}));
    }

    void failingExitCodesStopNothing()
    {
        CommandTweak tweak(u"a"_s, {u"exit 1"_s, store(u"A"_s), u"exit 2"_s, store(u"B"_s)}, {}, {}, {});
        QVERIFY(tweak.apply().ok);
        QCOMPARE(scratchImage().keys(), QStringList({u"A"_s, u"B"_s}));
        QCOMPARE(
            m_machine->log.lines(),
            QStringList({u"[WARN] cmdtweak: 'exit 1' exited with 1"_s, u"[WARN] cmdtweak: 'exit 2' exited with 2"_s}));
    }

    /// A bad entry costs itself alone, and each is logged.
    void badEntriesOfACatalogue()
    {
        QByteArray document = R"({"version": 99, "tweaks": [
            {"id": "z", "operations": [@]},
            1,
            {"id": "x", "type": "Registry", "operations": [@]},
            {"id": "a", "operations": [{}, @, 7]},
            {"id": "a", "type": "command", "apply": ["", " \t", 5], "applyBoot": ["x"]},
            {"id": "a", "operations": [@]},
            {"id": "a", "type": "command", "apply": ["x"]},
            {"id": "A", "operations": [@]}]})";
        document.replace("@", R"({"hive": "HKCU", "path": "Software\\A", "name": "B", "desired": 1})");
        TweakCatalog catalog;
        QVERIFY(catalog.loadFromJson(document));
        QCOMPARE(m_machine->log.lines(),
                 QStringList({u"[ERROR] registry: Skipping tweak with empty id"_s,
                              u"[WARN] registry: Tweak x has unsupported type 'Registry'; skipped"_s,
                              u"[ERROR] tweak: a: invalid registry operation"_s,
                              u"[ERROR] tweak: a: invalid registry operation"_s,
                              u"[ERROR] registry: Invalid registry tweak skipped: a"_s,
                              u"[ERROR] registry: Invalid command tweak skipped: a"_s,
                              u"[ERROR] registry: Duplicate tweak id skipped: a"_s,
                              u"[INFO] registry: Loaded 3 of 8 tweak definitions"_s}));
        for (const char* const unusable : {"{\"tweaks\": }", "[]", R"({"tweaks": [{"id": "a"}]})"})
            QVERIFY2(!TweakCatalog().loadFromJson(unusable), unusable);
    }

    void operations()
    {
        const std::pair<QByteArray, QString> cases[] = {
            {R"("desired": "1")", u"dword 0 "_s},
            {R"("valueType": " QWord ", "desired": 9223372036854775808)", u"qword 9223372036854775808 "_s},
            {R"("valueType": "expandsz", "desired": " %A% ")", u"expand_sz 0  %A% "_s},
            {R"("valueType": "binary", "desired": "00,1F, 2e,\\\r\n\tff")", u"binary 0 001f2eff"_s},
            {R"("valueType": "binary", "desired": ", \\")", {}},
            {R"("valueType": "multi_sz", "desired": "a")", {}},
            {R"("name": "", "desired": 1)", {}},
            {R"("hive": "HKXX", "desired": 1)", {}},
        };
        for (const auto& [rest, parsed] : cases) {
            const QByteArray json = R"({"hive": " hkey_users ", "path": "A\\B", "name": "C", )" + rest + "}";
            const RegistryTweak tweak(u"a"_s, {fromJson(json)});
            const RegistryOperation& only = tweak.operations().constFirst();
            QVERIFY2(tweak.isValid() == !parsed.isEmpty(), rest.constData());
            const QString content = only.text + QString::fromLatin1(only.bytes.toHex());
            const QString shown = u"%1 %2 %3"_s.arg(valueKindName(only.kind)).arg(only.number).arg(content);
            QVERIFY2(parsed.isEmpty() || (shown == parsed && hiveName(only.hive) == u"HKU"), qPrintable(shown));
        }
    }

    void texts()
    {
        TweakCatalog catalog;
        QVERIFY(catalog.loadFromJson(R"({"tweaks": [
            {"id": "full", "type": "command", "apply": ["x"], "name": "Sound", "name_fr": "Son", "effect": "sign-out",
             "section": "Audio", "section_fr": "Bruit", "requiredTier": " PRO\t", "requiredTier_fr": "none"},
            {"id": "part", "type": "command", "apply": ["x"], "name": "Sound", "name_fr": "", "requiredTier": "gold"}]})"));
        const TweakDefinition full = catalog.find(u"full"_s);
        QCOMPARE(QStringList({full.name, full.section, tierName(full.requiredTier)}),
                 QStringList({u"Son"_s, u"Audio"_s, u"pro"_s}));
        QCOMPARE(full.effect, TweakEffect::AfterSigningOut);
        const TweakDefinition part = catalog.find(u"part"_s);
        QCOMPARE(QStringList({part.name, tierName(part.requiredTier)}), QStringList({u"Sound"_s, u"none"_s}));
    }
};

QTEST_GUILESS_MAIN(tst_TweakCatalog)
#include "tst_TweakCatalog.moc"
