#include "platform/Registry.h"
#include "support/ScratchMachine.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/RegistryTweak.h"

#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
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
QString store(const QString& name, const QString& text = u"x"_s)
{
    return u"reg add \"HKCU\\%1\" /v \"%2\" /t REG_SZ /d \"%3\" /f"_s.arg(scratchKey, name, text);
}

} // namespace

/// Both kinds of tweak.
class tst_Tweak : public QObject {
    Q_OBJECT

private:
    std::optional<ScratchMachine> m_machine;

private Q_SLOTS:
    void init() { m_machine.emplace(); }
    void cleanup() { m_machine.reset(); }

    /// Another version of the program has to restore what this one stored.
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

    /// What is right already isn't written over, which the unusual bytes show; a value of another type is never right.
    void matches()
    {
        const struct {
            QByteArray wanted;
            RawValue present;
            bool matching;
        } cases[] = {
            {R"("sz", "desired": "a")", {regSz, utf16(u"a"_s, 3)}, true},
            {R"("sz", "desired": "a")", {regSz, utf16(u"A"_s)}, false},
            {R"("sz", "desired": "a")", {regExpandSz, utf16(u"a"_s)}, false},
            {R"("expand_sz", "desired": "a")", {regExpandSz, utf16(u"a"_s, 0)}, true},
            {R"("dword", "desired": 1)", {regDword, dwordBytes(1) + dwordBytes(9)}, true},
            {R"("dword", "desired": 1)", {regSz, utf16(u"1"_s)}, false},
            {R"("qword", "desired": 1)", {regDword, dwordBytes(1)}, false},
            {R"("binary", "desired": "01,02")", {regBinary, "\1\2"}, true},
            {R"("binary", "desired": "01,02")", {regBinary, "\1"}, false},
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

    /// What a shell makes of a command is the shell's own: quotes, operators, variables.
    void shellCommands()
    {
        qputenv("TORVELANE_TEST", "from outside");
        QVERIFY(runShellCommand(store(u"With a blank"_s, u"a & b"_s) + u" & "_s + store(u"B"_s, u"%TORVELANE_TEST%"_s),
                                nullptr));
        QCOMPARE(rawValue(u"With a blank"_s), (RawValue{regSz, utf16(u"a & b"_s)}));
        QCOMPARE(rawValue(u"B"_s), (RawValue{regSz, utf16(u"from outside"_s)}));
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

    /// The shell is gone as well: its second command would leave a value.
    void hangingCommandEndsTheList()
    {
        if (!fullRun())
            QSKIP("Takes the two minutes of a command's limit; part of the full run");
        const QString hanging = u"ping -n 130 127.0.0.1 & "_s + store(u"A"_s);
        CommandTweak tweak(u"a"_s, {hanging, store(u"B"_s)}, {}, {}, {});
        const TweakResult result = tweak.apply();
        QVERIFY(!result.ok);
        QCOMPARE(result.message, u"Command timed out: "_s + hanging);
        QTest::qWait(15000);
        QVERIFY(scratchImage().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_Tweak)
#include "tst_Tweak.moc"
