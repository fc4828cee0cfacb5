#include "support/LogCapture.h"
#include "support/TestMachine.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/TweakCatalog.h"

#include <QJsonDocument>
#include <QLocale>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

/// In French: the language is worked out once in a process.
class tst_TweakCatalog : public QObject {
    Q_OBJECT

private:
    std::optional<TestMachine> m_machine;

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::French));
        m_machine.emplace();
    }

    /// A bad entry costs itself alone, and each is told of.
    void badEntries()
    {
        QByteArray document = R"({"version": 99, "tweaks": [
            {"id": "z", "operations": [@]},
            1,
            {"id": "x", "type": "Registry", "operations": [@]},
            {"id": "a"},
            {"id": "a", "operations": [{}, @, 7]},
            {"id": "a", "type": "command", "apply": ["", " \t", 5], "applyBoot": ["x"]},
            {"id": "a", "operations": [@]},
            {"id": "a", "type": "command", "apply": ["x"]},
            {"id": "A", "operations": [@]}]})";
        document.replace("@", R"({"hive": "HKCU", "path": "Software\\A", "name": "B", "desired": 1})");
        const LogCapture log;
        TweakCatalog catalog;
        QVERIFY(catalog.loadFromJson(document));
        QCOMPARE(log.lines(),
                 QStringList({u"[ERROR] registry: Skipping tweak with empty id"_s,
                              u"[WARN] registry: Tweak x has unsupported type 'Registry'; skipped"_s,
                              u"[ERROR] registry: Invalid registry tweak skipped: a"_s,
                              u"[ERROR] tweak: a: invalid registry operation"_s,
                              u"[ERROR] tweak: a: invalid registry operation"_s,
                              u"[ERROR] registry: Invalid registry tweak skipped: a"_s,
                              u"[ERROR] registry: Invalid command tweak skipped: a"_s,
                              u"[ERROR] registry: Duplicate tweak id skipped: a"_s,
                              u"[INFO] registry: Loaded 3 of 9 tweak definitions"_s}));
        QStringList ids;
        for (const TweakDefinition& definition : catalog.definitions())
            ids.append(catalog.implementation(definition.id)->id());
        QCOMPARE(ids, QStringList({u"z"_s, u"a"_s, u"A"_s}));
    }

    /// None may be used but the empty one and the one that the program ships.
    void documents()
    {
        QVERIFY(!TweakCatalog().load(m_machine->scratchFile(u"none.json"_s)));
        for (const char* const document : {"{\"tweaks\": }", "[]", R"({"tweaks": [{"id": "a"}]})"})
            QVERIFY2(!TweakCatalog().loadFromJson(document), document);
        QVERIFY(TweakCatalog().loadFromJson("{}"));
        const LogCapture log;
        QVERIFY(TweakCatalog().load(u":/tweaks.json"_s));
        QCOMPARE(log.lines(), QStringList(u"[INFO] registry: Loaded 162 of 162 tweak definitions"_s));
    }

    void operations()
    {
        const std::pair<QByteArray, QString> cases[] = {
            {R"("desired": 4294967295)", u"dword 4294967295 "_s},
            {R"("desired": "1")", u"dword 0 "_s},
            {R"("valueType": " QWord ", "desired": 9223372036854775808)", u"qword 9223372036854775808 "_s},
            {R"("valueType": "sz", "desired": " a ")", u"sz 0  a "_s},
            {R"("valueType": "expandsz", "desired": "%A%")", u"expand_sz 0 %A%"_s},
            {R"("valueType": "binary", "desired": "00,1F, 2e,\\\r\n\tff")", u"binary 0 001f2eff"_s},
            {R"("valueType": "binary", "desired": ", \\")", {}},
            {R"("valueType": "multi_sz", "desired": "a")", {}},
            {R"("name": "", "desired": 1)", {}},
            {R"("hive": "HKXX", "desired": 1)", {}},
        };
        for (const auto& [rest, parsed] : cases) {
            const QByteArray json = R"({"hive": " hkey_users ", "path": "A\\B", "name": "C", )" + rest + "}";
            const RegistryTweak tweak(u"a"_s, {QJsonDocument::fromJson(json).object()});
            const RegistryOperation& only = tweak.operations().constFirst();
            QVERIFY2(tweak.isValid() == !parsed.isEmpty(), rest.constData());
            const QString content = only.text + QString::fromLatin1(only.bytes.toHex());
            const QString shown = u"%1 %2 %3"_s.arg(valueKindName(only.kind)).arg(only.number).arg(content);
            QVERIFY2(parsed.isEmpty() || (shown == parsed && hiveName(only.hive) == u"HKU"), qPrintable(shown));
        }
    }

    void textsAndCommands()
    {
        TweakCatalog catalog;
        QVERIFY(catalog.loadFromJson(R"({"tweaks": [
            {"id": "full", "type": "command", "apply": [" one ", "", "two\n"], "name": "Sound", "name_fr": "Son",
             "warning": "Loud", "warning_fr": "Fort", "description": "Long", "description_fr": "Longue",
             "section": "Audio", "section_fr": "Bruit", "requiredTier": " PRO\t", "requiredTier_fr": "none"},
            {"id": "part", "type": "command", "apply": ["x"], "name": "Sound", "name_fr": "", "warning": "Loud",
             "requiredTier": "gold"}]})"));
        const TweakDefinition full = catalog.find(u"full"_s);
        QCOMPARE(QStringList({full.name, full.warning, full.description, full.section, tierName(full.requiredTier)}),
                 QStringList({u"Son"_s, u"Fort"_s, u"Longue"_s, u"Audio"_s, u"pro"_s}));
        const TweakDefinition part = catalog.find(u"part"_s);
        QCOMPARE(QStringList({part.name, part.warning, tierName(part.requiredTier)}),
                 QStringList({u"Sound"_s, u"Loud"_s, u"none"_s}));
        const auto tweak = std::dynamic_pointer_cast<CommandTweak>(catalog.implementation(u"full"_s));
        QVERIFY(tweak);
        QCOMPARE(tweak->applyCommands(), QStringList({u"one"_s, u"two"_s}));
    }
};

QTEST_GUILESS_MAIN(tst_TweakCatalog)
#include "tst_TweakCatalog.moc"
