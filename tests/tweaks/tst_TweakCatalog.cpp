#include "support/LogCapture.h"
#include "support/TestMachine.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/TweakCatalog.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using Kind = RegistryValueKind;

namespace {

const QByteArray goodOperation = R"({"hive": "HKCU", "path": "Software\\A", "name": "B", "desired": 1})";

QByteArray registryEntry(const QByteArray& id, const QByteArray& operations = goodOperation)
{
    return R"({"id": ")" + id + R"(", "operations": [)" + operations + "]}";
}

} // namespace

class tst_TweakCatalog : public QObject {
    Q_OBJECT

private:
    std::optional<test::TestMachine> m_machine;
    std::optional<test::LogCapture> m_log;

private Q_SLOTS:
    void init()
    {
        m_machine.emplace();
        m_log.emplace();
    }

    void documents_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<bool>("usable");
        QTest::addColumn<QString>("ids");
        QTest::addColumn<QStringList>("lines");
        const auto plain = [](const char* title, const QByteArray& document, bool usable, const QString& ids,
                              const QStringList& lines) { QTest::newRow(title) << document << usable << ids << lines; };
        const auto row = [&plain](const char* title, const QByteArray& entries, bool usable, const QString& ids,
                                  const QString& loaded, QStringList lines = {}) {
            lines.append(u"[INFO] registry: Loaded %1 tweak definitions"_s.arg(loaded));
            plain(title, R"({"version": 99, "tweaks": [)" + entries + "]}", usable, ids, lines);
        };
        const QString badOperation = u"[ERROR] tweak: a: invalid registry operation"_s;
        const QString badRegistry = u"[ERROR] registry: Invalid registry tweak skipped: a"_s;
        const QString badCommand = u"[ERROR] registry: Invalid command tweak skipped: a"_s;
        const QByteArray good = registryEntry("good");

        plain("damaged", "{\"tweaks\": }", false, {},
              {u"[ERROR] registry: tweaks.json parse error: object is missing after a comma"_s});
        plain("array at the top", "[]", false, {}, {u"[ERROR] registry: tweaks.json parse error: no error occurred"_s});
        plain("no tweaks", "{}", true, {}, {u"[INFO] registry: Loaded 0 of 0 tweak definitions"_s});
        row("zero tweaks", "", true, {}, u"0 of 0"_s);
        row("document order", registryEntry("z") + ',' + registryEntry("m") + ',' + registryEntry("a"), true,
            u"z m a"_s, u"3 of 3"_s);
        row("capital in the type", R"({"id": "a", "type": "Registry"})", false, {}, u"0 of 1"_s,
            {u"[WARN] registry: Tweak a has unsupported type 'Registry'; skipped"_s});
        row("no type, no operations", R"({"id": "a"},)" + good, true, u"good"_s, u"1 of 2"_s, {badRegistry});
        row("no objects", R"(1, null, "x",)" + good, true, u"good"_s, u"1 of 4"_s,
            QStringList(3, u"[ERROR] registry: Skipping tweak with empty id"_s));
        row("same id, other type", good + R"(,{"id": "good", "type": "command", "apply": ["x"]})", true, u"good"_s,
            u"1 of 2"_s, {u"[ERROR] registry: Duplicate tweak id skipped: good"_s});
        row("same id, other case", good + ',' + registryEntry("Good"), true, u"good Good"_s, u"2 of 2"_s);
        row("id of a skipped entry", R"({"id": "good"},)" + good, true, u"good"_s, u"1 of 2"_s,
            {u"[ERROR] registry: Invalid registry tweak skipped: good"_s});
        row("every bad operation is named", registryEntry("a", "{}," + goodOperation + ",7"), false, {}, u"0 of 1"_s,
            {badOperation, badOperation, badRegistry});
        row("blank commands", R"({"id": "a", "type": "command", "apply": ["", " \t", 5]})", false, {}, u"0 of 1"_s,
            {badCommand});
        row("boot commands alone", R"({"id": "a", "type": "command", "applyBoot": ["x"]})", false, {}, u"0 of 1"_s,
            {badCommand});
    }

    void documents()
    {
        QFETCH(QByteArray, document);
        QFETCH(QString, ids);
        TweakCatalog catalog;
        QTEST(catalog.loadFromJson(document), "usable");
        QTEST(m_log->lines(), "lines");
        QStringList listed;
        for (const TweakDefinition& definition : catalog.definitions()) {
            listed.append(definition.id);
            QCOMPARE(catalog.implementation(definition.id)->id(), definition.id);
        }
        QCOMPARE(listed.join(u' '), ids);
        QCOMPARE(catalog.size(), listed.size());
        QVERIFY(!catalog.findPointer(u"a"_s) || ids.contains(u'a'));
        QCOMPARE(catalog.find(u"unknown"_s).requiredTier, Tier::Free);
        QVERIFY(!catalog.implementation(u"unknown"_s));
    }

    void tiers()
    {
        const std::pair<QJsonValue, QString> rows[] = {{u" PRO\t"_s, u"pro"_s}, {u"Premium"_s, u"premium"_s},
                                                       {u"free"_s, u"free"_s},  {u"gold"_s, u"none"_s},
                                                       {QString(), u"none"_s},  {QJsonValue::Undefined, u"free"_s}};
        for (const auto& [written, tier] : rows) {
            QJsonObject entry = QJsonDocument::fromJson(registryEntry("a")).object();
            entry.insert(u"requiredTier"_s, written);
            TweakCatalog catalog;
            QVERIFY(catalog.addDefinition(entry));
            QCOMPARE(tierName(catalog.find(u"a"_s).requiredTier), tier);
        }
    }

    void operations_data()
    {
        QTest::addColumn<QByteArray>("operation");
        QTest::addColumn<QString>("parsed");
        const auto row = [](const char* title, const char* rest, const char* parsed) {
            const QByteArray start = R"({"hive": " hkey_users ", "path": "A\\B", "name": "C", )";
            QTest::newRow(title) << start + rest + "}" << QString::fromLatin1(parsed);
        };
        row("dword by default", R"("desired": 4294967295)", R"(HKU\A\B [C] dword 4294967295)");
        row("number as text", R"("desired": "1")", R"(HKU\A\B [C] dword 0)");
        row("nothing desired", R"("valueType": "qword")", R"(HKU\A\B [C] qword 0)");
        row("qword from 2^63", R"("valueType": " QWord ", "desired": 9223372036854775808)",
            R"(HKU\A\B [C] qword 9223372036854775808)");
        row("sz", R"("valueType": "sz", "desired": " a ")", R"(HKU\A\B [C] sz 0  a )");
        row("empty sz", R"("valueType": "sz")", R"(HKU\A\B [C] sz 0 )");
        row("number for sz", R"("valueType": "sz", "desired": 1)", R"(HKU\A\B [C] sz 0 )");
        row("expandsz", R"("valueType": "expandsz", "desired": "%A%")", R"(HKU\A\B [C] expand_sz 0 %A%)");
        row("pasted binary", R"("valueType": "binary", "desired": "00,1F, 2e,\\\r\n\tff")",
            R"(HKU\A\B [C] binary 0 001f2eff)");
        row("binary of separators", R"("valueType": "binary", "desired": ", \\")", "");
        row("empty binary", R"("valueType": "binary", "desired": "")", "");
        row("unknown kind", R"("valueType": "multi_sz", "desired": "a")", "");
        row("no kind", R"("valueType": "none", "desired": 1)", "");
        row("no name", R"("name": "", "desired": 1)", "");
        row("no path", R"("path": "", "desired": 1)", "");
        row("unknown hive", R"("hive": "HKXX", "desired": 1)", "");
    }

    void operations()
    {
        QFETCH(QByteArray, operation);
        QFETCH(QString, parsed);
        const RegistryTweak tweak(u"a"_s, {QJsonDocument::fromJson(operation).object()});
        const RegistryOperation& only = tweak.operations().constFirst();
        QCOMPARE(tweak.isValid(), !parsed.isEmpty());
        QCOMPARE(only.valid, tweak.isValid());
        QCOMPARE(m_log->count(u"[ERROR] tweak: a: invalid registry operation"_s), parsed.isEmpty() ? 1 : 0);
        if (parsed.isEmpty())
            return;
        QString shown = u"%1\\%2 [%3] %4 %5"_s.arg(hiveName(only.hive), only.path, only.name, valueKindName(only.kind))
                            .arg(only.number);
        if (only.kind != Kind::Dword && only.kind != Kind::Qword)
            shown += u' ' + only.text + QString::fromLatin1(only.bytes.toHex());
        QCOMPARE(shown, parsed);
    }

    void commandsAreTrimmed()
    {
        TweakCatalog catalog;
        QVERIFY(
            catalog.loadFromJson(R"({"tweaks": [{"id": "a", "type": "command", "apply": [" one ", "", "two\n"]}]})"));
        const auto tweak = std::dynamic_pointer_cast<CommandTweak>(catalog.implementation(u"a"_s));
        QVERIFY(tweak);
        QCOMPARE(tweak->applyCommands(), QStringList({u"one"_s, u"two"_s}));
    }

    void missingFile()
    {
        const QString path = m_machine->scratchFile(u"none.json"_s);
        QVERIFY(!TweakCatalog().load(path));
        QCOMPARE(m_log->lines(), QStringList(u"[ERROR] registry: Cannot open tweaks.json: "_s + path));
    }

    /// Every entry of the catalogue compiled in loads, and has what the pages show of it.
    void shippedCatalogue()
    {
        TweakCatalog catalog;
        QVERIFY(catalog.load(u":/tweaks.json"_s));
        QCOMPARE(m_log->lines(), QStringList(u"[INFO] registry: Loaded 162 of 162 tweak definitions"_s));
        QMap<RegistryHive, int> operationCounts;
        for (const TweakDefinition& definition : catalog.definitions()) {
            QVERIFY2(!definition.name.isEmpty() && !definition.section.isEmpty(), qPrintable(definition.id));
            const auto tweak = std::dynamic_pointer_cast<RegistryTweak>(catalog.implementation(definition.id));
            if (!tweak)
                continue;
            for (const RegistryOperation& operation : tweak->operations())
                ++operationCounts[operation.hive];
        }
        QCOMPARE(operationCounts,
                 (QMap<RegistryHive, int>{
                     {RegistryHive::LocalMachine, 200}, {RegistryHive::CurrentUser, 145}, {RegistryHive::Users, 4}}));
    }
};

QTEST_GUILESS_MAIN(tst_TweakCatalog)
#include "tst_TweakCatalog.moc"
