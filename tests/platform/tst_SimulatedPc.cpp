#include "platform/ChildProcess.h"
#include "platform/ProcessSettings.h"
#include "platform/Registry.h"
#include "platform/SecretBox.h"
#include "platform/SystemTools.h"
#include "platform/simulated/SimulatedPc.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace torvelane::platform;

namespace {

constexpr SystemCode codeBadPathname = 161;
constexpr SystemCode codeKeyDeleted = 1018;
const QString userSid = u"S-1-5-21-1004336348-1177238915-682003330-1001"_s;
const QString scratch = u"Software\\Torvelane\\Test"_s;

std::span<const std::byte> bytes(const QByteArray& data)
{
    return std::as_bytes(std::span(data.constData(), static_cast<std::size_t>(data.size())));
}

SystemCode write(RootKey root, const QString& path, const QString& name, quint32 type, const QByteArray& data)
{
    RegistryKey key;
    const SystemCode code = RegistryKey::create(root, path, key);
    return code == codeSuccess ? key.setValue(name, type, bytes(data)) : code;
}

SystemCode writeNumber(const QString& name, char number = 1)
{
    return write(RootKey::CurrentUser, scratch, name, regDword, QByteArray(1, number) + QByteArray(3, '\0'));
}

struct Answer {
    SystemCode code = codeSuccess;
    quint32 type = 0;
    QByteArray data;
};

Answer read(RootKey root, const QString& path, const QString& name)
{
    RegistryKey key;
    Answer answer;
    quint32 sizeBytes = 0;
    answer.code = RegistryKey::open(root, path, RegistryAccess::Read, key);
    if (answer.code == codeSuccess)
        answer.code = key.querySize(name, answer.type, sizeBytes);
    if (answer.code != codeSuccess)
        return answer;
    answer.data.resize(sizeBytes);
    answer.code =
        key.query(name, std::as_writable_bytes(std::span(answer.data.data(), sizeBytes)), answer.type, sizeBytes);
    return answer;
}

ChildProcessResult shell(const QString& command, int limitMs = 30000)
{
    return runChildProcess(shellCommand(command), {.startTimeoutMs = 5000, .finishTimeoutMs = limitMs});
}

/// A zombie that only waits for its parent has ended.
bool isRunning(qint64 processId)
{
    QFile file(u"/proc/%1/stat"_s.arg(processId));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = file.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) != "Z";
}

/// Process numbers of the shells in the journal, outermost first.
QList<qint64> shellIds()
{
    QList<qint64> ids;
    for (const ToolCall& call : SimulatedPc::journal()) {
        if (call.tool == u"cmd.exe")
            ids << call.processId;
    }
    return ids;
}

} // namespace

Q_DECLARE_METATYPE(ToolCommand)

class tst_SimulatedPc : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void keysWithSeveralNames_data();
    void keysWithSeveralNames();
    void refusals_data();
    void refusals();
    void classesMergeUserAndMachine();
    void namesKeepTheirFirstCase();
    void subkeysIncludeAliases();
    void bytesSurvive_data();
    void bytesSurvive();
    void bufferTooSmall();
    void handlesOfGoneKeys();

    void denialReachesDown();
    void unelevatedWritesStayWithTheUser();
    void changesFailInTurn();
    void queryStagesFailApart();
    void killedAtAnyChange_data();
    void killedAtAnyChange();
    void observerSeesEveryChange();

    void differencesAreReadable();
    void stateOutlivesTheProcess();
    void badSeedChangesNothing();
    void manyThreadsLoseNothing();
    void processesMeetOnANewFile();

    void secretsAreBoundAndAuthentic();

    void shellCommands_data();
    void shellCommands();
    void regOutput_data();
    void regOutput();

    void childOutcomes_data();
    void childOutcomes();
    void timedOutChildTakesItsOwnAlong();
    void backgroundProcessSurvivesANormalEnd();
    void noDescendantSurvivesACrash();
    void largeOutputIsDrained();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_SimulatedPc::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    SimulatedPc::setMachineFile(m_dir->filePath(u"machine.db"_s));
}

void tst_SimulatedPc::cleanup()
{
    SimulatedPc::setChangeObserver({});
}

void tst_SimulatedPc::keysWithSeveralNames_data()
{
    QTest::addColumn<RootKey>("root");
    QTest::addColumn<QString>("path");
    QTest::addColumn<RootKey>("otherRoot");
    QTest::addColumn<QString>("otherPath");

    QTest::newRow("control set") << RootKey::LocalMachine << u"SYSTEM\\ControlSet001\\Control\\Torvelane"_s
                                 << RootKey::LocalMachine << u"SYSTEM\\CurrentControlSet\\Control\\Torvelane"_s;
    QTest::newRow("user by SID") << RootKey::CurrentUser << scratch << RootKey::Users
                                 << QString(userSid + u'\\' + scratch);
    QTest::newRow("user's classes") << RootKey::CurrentUser << u"Software\\Classes\\.torv"_s << RootKey::Users
                                    << QString(userSid + u"_Classes\\.torv"_s);
    QTest::newRow("system profile") << RootKey::Users << u".DEFAULT\\Software\\Torvelane"_s << RootKey::Users
                                    << u"S-1-5-18\\Software\\Torvelane"_s;
    QTest::newRow("current hardware")
        << RootKey::CurrentConfig << u"Software\\Torvelane"_s << RootKey::LocalMachine
        << u"SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\Software\\Torvelane"_s;
    QTest::newRow("letter case") << RootKey::CurrentUser << u"Software\\Torvelane\\\u00c9t\u00e9"_s
                                 << RootKey::CurrentUser << u"SOFTWARE\\torvelane\\\u00e9T\u00c9"_s;
    QTest::newRow("more backslashes") << RootKey::CurrentUser << u"Software\\Torvelane\\Test\\\\"_s
                                      << RootKey::CurrentUser << scratch;
}

void tst_SimulatedPc::keysWithSeveralNames()
{
    QFETCH(RootKey, root);
    QFETCH(QString, path);
    QFETCH(RootKey, otherRoot);
    QFETCH(QString, otherPath);

    const MachineSnapshot before = SimulatedPc::snapshot();
    QCOMPARE(write(root, path, u"Value"_s, regSz, "a"), codeSuccess);
    QCOMPARE(read(otherRoot, otherPath, u"vaLUE"_s).data, QByteArray("a"));
    QCOMPARE(write(otherRoot, otherPath, u"value"_s, regSz, "b"), codeSuccess);
    QCOMPARE(read(root, path, u"Value"_s).data, QByteArray("b"));
    QCOMPARE(SimulatedPc::snapshot().size(), before.size() + 1);
}

void tst_SimulatedPc::refusals_data()
{
    QTest::addColumn<RootKey>("root");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");
    QTest::addColumn<SystemCode>("readCode");
    QTest::addColumn<SystemCode>("writeCode");

    const auto row = [](const char* tag, RootKey root, const QString& path, const QString& name, SystemCode readCode,
                        SystemCode writeCode) { QTest::newRow(tag) << root << path << name << readCode << writeCode; };
    const auto cu = RootKey::CurrentUser;
    row("key is missing", cu, u"Software\\Nowhere\\At All"_s, u"V"_s, codeFileNotFound, codeSuccess);
    row("value is missing", cu, u"Control Panel\\Mouse"_s, u"V"_s, codeFileNotFound, codeSuccess);
    row("default value is missing", cu, u"Control Panel\\Mouse"_s, {}, codeFileNotFound, codeSuccess);
    row("leading backslash", cu, u"\\Software"_s, u"V"_s, codeBadPathname, codeBadPathname);
    row("leading backslash below HKCR", RootKey::ClassesRoot, u"\\.exe"_s, u"Content Type"_s, codeSuccess, codeSuccess);
    row("NUL in the path", cu, u"Software\\A\0B"_s, u"V"_s, codeInvalidParameter, codeInvalidParameter);
    row("NUL in the name", cu, u"Software"_s, u"A\0B"_s, codeInvalidParameter, codeInvalidParameter);
    row("longest key name", cu, QString(255, u'k'), u"V"_s, codeFileNotFound, codeSuccess);
    row("key name too long", cu, QString(256, u'k'), u"V"_s, codeInvalidParameter, codeInvalidParameter);
    row("longest value name", cu, scratch, QString(16383, u'v'), codeFileNotFound, codeSuccess);
    row("value name too long", cu, u"Software"_s, QString(16384, u'v'), codeInvalidParameter, codeInvalidParameter);
    row("child of HKLM", RootKey::LocalMachine, u"Torvelane"_s, u"V"_s, codeFileNotFound, codeInvalidParameter);
    row("below no hive", RootKey::Users, u"S-1-5-21-0\\Software"_s, u"V"_s, codeFileNotFound, codeInvalidParameter);
}

void tst_SimulatedPc::refusals()
{
    QFETCH(RootKey, root);
    QFETCH(QString, path);
    QFETCH(QString, name);
    QFETCH(SystemCode, readCode);
    QFETCH(SystemCode, writeCode);

    QCOMPARE(read(root, path, name).code, readCode);
    QCOMPARE(write(root, path, name, regSz, "x"), writeCode);
    if (writeCode == codeSuccess)
        QCOMPARE(read(root, path, name).data, QByteArray("x"));
}

void tst_SimulatedPc::classesMergeUserAndMachine()
{
    const auto classText = [](const QString& name) { return read(RootKey::ClassesRoot, u".txt"_s, name).data; };
    QCOMPARE(classText(u"Content Type"_s),
             SimulatedPc::value(u"HKCU\\Software\\Classes\\.txt"_s, u"Content Type"_s)->data);
    QCOMPARE(classText(u"PerceivedType"_s),
             SimulatedPc::value(u"HKLM\\SOFTWARE\\Classes\\.txt"_s, u"PerceivedType"_s)->data);

    RegistryKey key;
    QStringList names;
    QCOMPARE(RegistryKey::open(RootKey::ClassesRoot, {}, RegistryAccess::Read, key), codeSuccess);
    QCOMPARE(key.subkeyNames(names), codeSuccess);
    QCOMPARE(names.count(u".txt"_s), 1);
    QVERIFY(names.contains(u"discord"_s) && names.contains(u"exefile"_s));

    QCOMPARE(write(RootKey::ClassesRoot, u".txt"_s, u"Added"_s, regSz, "x"), codeSuccess);
    QCOMPARE(write(RootKey::ClassesRoot, u".new"_s, u"Added"_s, regSz, "x"), codeSuccess);
    QVERIFY(SimulatedPc::value(u"HKCU\\Software\\Classes\\.txt"_s, u"Added"_s));
    QVERIFY(SimulatedPc::value(u"HKLM\\SOFTWARE\\Classes\\.new"_s, u"Added"_s));
}

void tst_SimulatedPc::namesKeepTheirFirstCase()
{
    QCOMPARE(write(RootKey::CurrentUser, u"sOFTWARE\\MyKey"_s, u"MyValue"_s, regSz, "a"), codeSuccess);
    QCOMPARE(write(RootKey::CurrentUser, u"Software\\MYKEY\\Sub"_s, {}, regSz, "b"), codeSuccess);
    QCOMPARE(write(RootKey::CurrentUser, u"Software\\MYKEY"_s, u"MYVALUE"_s, regDword, "b"), codeSuccess);

    QStringList paths;
    for (const SimulatedValue& value : SimulatedPc::snapshot()) {
        if (value.keyPath.contains(u"mykey"_s, Qt::CaseInsensitive))
            paths << value.keyPath + u'|' + value.name;
    }
    QCOMPARE(paths, (QStringList{u"HKCU\\Software\\MyKey|MyValue"_s, u"HKCU\\Software\\MyKey\\Sub|"_s}));
}

void tst_SimulatedPc::subkeysIncludeAliases()
{
    const auto names = [](RootKey root, const QString& path) {
        RegistryKey key;
        QStringList out;
        if (RegistryKey::open(root, path, RegistryAccess::Read, key) != codeSuccess
            || key.subkeyNames(out) != codeSuccess)
            out = {u"failed"_s};
        return out;
    };
    QCOMPARE(names(RootKey::LocalMachine, u"System"_s),
             (QStringList{u"ControlSet001"_s, u"CurrentControlSet"_s, u"Select"_s, u"Setup"_s}));
    QCOMPARE(
        names(RootKey::Users, {}),
        (QStringList{u".DEFAULT"_s, u"S-1-5-18"_s, u"S-1-5-19"_s, u"S-1-5-20"_s, userSid, userSid + u"_Classes"_s}));
}

void tst_SimulatedPc::bytesSurvive_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<quint32>("type");
    QTest::addColumn<QByteArray>("data");

    QTest::newRow("nothing at all") << u"V"_s << quint32(regNone) << QByteArray();
    QTest::newRow("text without terminator") << u"V"_s << quint32(regSz) << QByteArray("a\0b\0", 4);
    QTest::newRow("odd length") << u"V"_s << quint32(regExpandSz) << QByteArray("a\0b", 3);
    QTest::newRow("three byte number") << u"V"_s << quint32(regDword) << QByteArray("\1\2\3", 3);
    QTest::newRow("type without a name") << u"V"_s << quint32(0x80000001) << QByteArray("\0", 1);
    QTest::newRow("a megabyte") << u"V"_s << quint32(regBinary) << QByteArray(1 << 20, '\xff');
    QTest::newRow("default value") << QString() << quint32(regMultiSz) << QByteArray("\0\0", 2);
    QTest::newRow("unpaired surrogate") << QString(QChar(0xd800)) << quint32(regQword) << QByteArray(8, '\x80');
    QTest::newRow("quotes and percent") << u"a'b\"c%d\\e"_s << quint32(regSz) << QByteArray("x\0\0\0", 4);
}

void tst_SimulatedPc::bytesSurvive()
{
    QFETCH(QString, name);
    QFETCH(quint32, type);
    QFETCH(QByteArray, data);

    QCOMPARE(write(RootKey::CurrentUser, scratch, name, regSz, "what was there before"), codeSuccess);
    QCOMPARE(write(RootKey::CurrentUser, scratch, name, type, data), codeSuccess);
    const Answer answer = read(RootKey::CurrentUser, scratch, name);
    QCOMPARE(answer.code, codeSuccess);
    QCOMPARE(answer.type, type);
    QVERIFY(answer.data == data);

    RegistryKey key;
    QStringList names;
    QCOMPARE(RegistryKey::open(RootKey::CurrentUser, scratch, RegistryAccess::Read, key), codeSuccess);
    QCOMPARE(key.valueNames(names), codeSuccess);
    QCOMPARE(names.size(), 1);
    QVERIFY(names[0] == name);
}

void tst_SimulatedPc::bufferTooSmall()
{
    QCOMPARE(write(RootKey::CurrentUser, scratch, u"V"_s, regBinary, "12345"), codeSuccess);
    RegistryKey key;
    QCOMPARE(RegistryKey::open(RootKey::CurrentUser, scratch, RegistryAccess::Read, key), codeSuccess);
    std::array<std::byte, 5> buffer{};
    quint32 type = 0;
    quint32 sizeBytes = 0;
    QCOMPARE(key.query(u"V"_s, std::span(buffer).first(4), type, sizeBytes), codeMoreData);
    QCOMPARE(sizeBytes, 5U);
    QCOMPARE(buffer[0], std::byte(0));
    QCOMPARE(key.query(u"V"_s, buffer, type, sizeBytes), codeSuccess);
    QCOMPARE(buffer[4], std::byte('5'));
}

void tst_SimulatedPc::handlesOfGoneKeys()
{
    RegistryKey writable;
    RegistryKey readable;
    quint32 type = 0;
    quint32 sizeBytes = 0;
    QCOMPARE(readable.querySize(u"V"_s, type, sizeBytes), codeInvalidHandle);
    QCOMPARE(writable.setValue(u"V"_s, regSz, {}), codeInvalidHandle);

    QCOMPARE(RegistryKey::create(RootKey::CurrentUser, scratch, writable), codeSuccess);
    QCOMPARE(RegistryKey::open(RootKey::CurrentUser, scratch, RegistryAccess::Read, readable), codeSuccess);
    QCOMPARE(writable.querySize(u"V"_s, type, sizeBytes), codeAccessDenied);
    QCOMPARE(readable.setValue(u"V"_s, regSz, {}), codeAccessDenied);
    QCOMPARE(readable.deleteValue(u"V"_s), codeAccessDenied);
    QCOMPARE(writable.deleteValue(u"V"_s), codeFileNotFound);

    SimulatedPc::removeKey(u"HKCU\\"_s + scratch);
    QCOMPARE(readable.querySize(u"V"_s, type, sizeBytes), codeKeyDeleted);
    QCOMPARE(writable.setValue(u"V"_s, regSz, {}), codeKeyDeleted);
    QCOMPARE(writable.deleteValue(u"V"_s), codeKeyDeleted);

    // A failed open closes what was open, and the handles of one machine mean nothing on another.
    QCOMPARE(RegistryKey::open(RootKey::CurrentUser, scratch, RegistryAccess::Read, readable), codeFileNotFound);
    QVERIFY(!readable.isOpen());
    QCOMPARE(RegistryKey::create(RootKey::CurrentUser, scratch, writable), codeSuccess);
    SimulatedPc::setMachineFile(m_dir->filePath(u"other.db"_s));
    QCOMPARE(writable.setValue(u"V"_s, regSz, {}), codeInvalidHandle);
}

void tst_SimulatedPc::denialReachesDown()
{
    const QString mouse = u"Control Panel\\Mouse"_s;
    QCOMPARE(write(RootKey::CurrentUser, u"Control Panel\\MouseX"_s, u"V"_s, regSz, "x"), codeSuccess);

    SimulatedPc::denyReads(u"HKEY_CURRENT_USER\\control panel\\MOUSE"_s);
    QCOMPARE(read(RootKey::CurrentUser, mouse, u"MouseSpeed"_s).code, codeAccessDenied);
    QCOMPARE(read(RootKey::CurrentUser, mouse + u"\\Below"_s, {}).code, codeAccessDenied);
    QCOMPARE(read(RootKey::Users, userSid + u'\\' + mouse, u"MouseSpeed"_s).code, codeAccessDenied);
    QCOMPARE(read(RootKey::CurrentUser, u"Control Panel\\MouseX"_s, u"V"_s).code, codeSuccess);
    QCOMPARE(write(RootKey::CurrentUser, mouse, u"MouseSpeed"_s, regSz, "x"), codeSuccess);
    const ChildProcessResult query = shell(u"reg query \"HKCU\\Control Panel\\Mouse\" /v MouseSpeed"_s);
    QCOMPARE(query.exitCode, 1);
    QCOMPARE(query.output, QByteArray("ERROR: Access is denied.\r\n"));

    SimulatedPc::clearFaults();
    SimulatedPc::denyWrites(u"HKCU\\Control Panel\\Mouse"_s);
    RegistryKey key;
    QCOMPARE(RegistryKey::open(RootKey::CurrentUser, mouse, RegistryAccess::SetValue, key), codeAccessDenied);
    QCOMPARE(RegistryKey::create(RootKey::CurrentUser, mouse, key), codeAccessDenied);
    QCOMPARE(RegistryKey::create(RootKey::CurrentUser, mouse + u"\\New"_s, key), codeAccessDenied);
    QCOMPARE(write(RootKey::CurrentUser, u"Control Panel\\MouseX"_s, u"V"_s, regSz, "x"), codeSuccess);
    QCOMPARE(read(RootKey::CurrentUser, mouse, u"MouseSpeed"_s).code, codeSuccess);
    QVERIFY(!SimulatedPc::keyExists(u"HKCU\\Control Panel\\Mouse\\New"_s));
}

void tst_SimulatedPc::unelevatedWritesStayWithTheUser()
{
    QVERIFY(isElevated());
    SimulatedPc::setElevated(false);
    QVERIFY(!isElevated());
    QCOMPARE(write(RootKey::LocalMachine, u"SOFTWARE\\Torvelane"_s, u"V"_s, regSz, "x"), codeAccessDenied);
    QCOMPARE(write(RootKey::Users, u".DEFAULT\\Software"_s, u"V"_s, regSz, "x"), codeAccessDenied);
    QCOMPARE(write(RootKey::ClassesRoot, u".exe"_s, u"V"_s, regSz, "x"), codeAccessDenied);
    QCOMPARE(write(RootKey::ClassesRoot, u"discord"_s, u"V"_s, regSz, "x"), codeSuccess);
    QCOMPARE(write(RootKey::Users, userSid + u"\\Software"_s, u"V"_s, regSz, "x"), codeSuccess);
    QCOMPARE(read(RootKey::LocalMachine, u"SOFTWARE\\Microsoft\\Cryptography"_s, u"MachineGuid"_s).code, codeSuccess);
}

void tst_SimulatedPc::changesFailInTurn()
{
    // A handle from before the fault meets it too.
    RegistryKey key;
    QCOMPARE(RegistryKey::create(RootKey::CurrentUser, scratch, key), codeSuccess);
    SimulatedPc::failChange(3, 1450);
    QCOMPARE(key.setValue(u"A"_s, regSz, {}), codeSuccess);                         // 1
    QCOMPARE(key.deleteValue(u"Missing"_s), codeFileNotFound);                      // no change
    QCOMPARE(shell(u"reg add HKCU\\Software\\Torvelane\\Test\\New"_s).exitCode, 0); // 2
    QCOMPARE(key.deleteValue(u"A"_s), SystemCode(1450));                            // 3
    QVERIFY(SimulatedPc::value(u"HKCU\\"_s + scratch, u"A"_s));
    QCOMPARE(key.deleteValue(u"A"_s), codeSuccess);

    SimulatedPc::clearFaults();
    SimulatedPc::failChange(2, codeWriteFault, true);
    QCOMPARE(writeNumber(u"A"_s), codeSuccess);
    QCOMPARE(writeNumber(u"B"_s), codeWriteFault);
    QCOMPARE(RegistryKey::create(RootKey::CurrentUser, u"Software\\Another\\One"_s, key), codeWriteFault);
    QVERIFY(!key.isOpen());
    QVERIFY(!SimulatedPc::keyExists(u"HKCU\\Software\\Another"_s));
    QCOMPARE(SimulatedPc::faults(), QStringList{u"fail-change 2 29 and all after"_s});
    SimulatedPc::clearFaults();
    QCOMPARE(writeNumber(u"B"_s), codeSuccess);
}

void tst_SimulatedPc::queryStagesFailApart()
{
    QCOMPARE(writeNumber(u"A"_s), codeSuccess);
    QCOMPARE(writeNumber(u"B"_s), codeSuccess);
    RegistryKey key;
    QCOMPARE(RegistryKey::open(RootKey::CurrentUser, scratch, RegistryAccess::Read, key), codeSuccess);
    SimulatedPc::failQuery(u"HKCU\\"_s + scratch, u"a"_s, QueryStage::Size, codeInvalidHandle);
    SimulatedPc::failQuery(u"HKCU\\"_s + scratch, u"b"_s, QueryStage::Data, codeMoreData);
    quint32 type = 0;
    quint32 sizeBytes = 0;
    QCOMPARE(key.querySize(u"A"_s, type, sizeBytes), codeInvalidHandle);
    QCOMPARE(key.querySize(u"B"_s, type, sizeBytes), codeSuccess);
    QCOMPARE(sizeBytes, 4U);
    std::array<std::byte, 4> buffer{};
    QCOMPARE(key.query(u"B"_s, buffer, type, sizeBytes), codeMoreData);
}

void tst_SimulatedPc::killedAtAnyChange_data()
{
    QTest::addColumn<int>("n");
    QTest::addColumn<ChangeMoment>("moment");
    QTest::addColumn<QStringList>("left");

    // "reg add" makes the key first and the value then.
    const QString value = u"+ HKCU\\Software\\Torvelane\\Test [A] REG_DWORD 0x7"_s;
    QTest::newRow("before the key") << 1 << ChangeMoment::Before << QStringList{};
    QTest::newRow("after the key") << 1 << ChangeMoment::After << QStringList{u"key"_s};
    QTest::newRow("before the value") << 2 << ChangeMoment::Before << QStringList{u"key"_s};
    QTest::newRow("after the value") << 2 << ChangeMoment::After << QStringList{u"key"_s, value};
}

void tst_SimulatedPc::killedAtAnyChange()
{
    QFETCH(int, n);
    QFETCH(ChangeMoment, moment);
    QFETCH(QStringList, left);

    const MachineSnapshot before = SimulatedPc::snapshot();
    SimulatedPc::killAtChange(n, moment);
    const QString command = u"reg add HKCU\\Software\\Torvelane\\Test /v A /t REG_DWORD /d 7 /f"_s;
    QCOMPARE(shell(command).outcome, ChildProcessResult::Outcome::Crashed);
    const QStringList key =
        SimulatedPc::keyExists(u"HKCU\\Software\\Torvelane\\Test"_s) ? QStringList{u"key"_s} : QStringList{};
    QCOMPARE(key + SimulatedPc::differences(before, SimulatedPc::snapshot()), left);
    for (const ToolCall& call : SimulatedPc::journal())
        QVERIFY2(!call.exitCode, "a killed tool can't have told its exit code");

    // Once only: the next start of the same program gets through.
    QCOMPARE(shell(command).exitCode, 0);
}

void tst_SimulatedPc::observerSeesEveryChange()
{
    QStringList seen;
    SimulatedPc::setChangeObserver([&seen](ChangeMoment moment, const RegistryChange& change) {
        const bool isThere = change.kind == RegistryChange::Kind::CreateKey
            ? SimulatedPc::keyExists(change.keyPath)
            : SimulatedPc::value(change.keyPath, change.name).has_value();
        seen << u"%1 %2 %3 [%4] %5"_s.arg(moment == ChangeMoment::Before ? u"before"_s : u"after"_s)
                    .arg(static_cast<int>(change.kind))
                    .arg(change.keyPath, change.name, isThere ? u"there"_s : u"not there"_s);
    });

    RegistryKey key;
    QCOMPARE(RegistryKey::create(RootKey::Users, userSid + u"\\Software\\New\\Deep"_s, key), codeSuccess);
    QCOMPARE(key.setValue(u"V"_s, regSz, {}), codeSuccess);
    QCOMPARE(RegistryKey::create(RootKey::CurrentUser, u"software\\new\\deep"_s, key), codeSuccess);
    SimulatedPc::failChange(1);
    QCOMPARE(key.deleteValue(u"V"_s), codeWriteFault);
    QCOMPARE(key.deleteValue(u"V"_s), codeSuccess);
    QCOMPARE(key.deleteValue(u"V"_s), codeFileNotFound);
    SimulatedPc::setChangeObserver({});
    QCOMPARE(key.setValue(u"V"_s, regSz, {}), codeSuccess);

    QCOMPARE(seen,
             (QStringList{
                 u"before 0 HKCU\\Software\\New\\Deep [] not there"_s,
                 u"after 0 HKCU\\Software\\New\\Deep [] there"_s,
                 u"before 1 HKCU\\Software\\New\\Deep [V] not there"_s,
                 u"after 1 HKCU\\Software\\New\\Deep [V] there"_s,
                 u"before 2 HKCU\\Software\\New\\Deep [V] there"_s, // refused
                 u"before 2 HKCU\\Software\\New\\Deep [V] there"_s,
                 u"after 2 HKCU\\Software\\New\\Deep [V] not there"_s,
             }));
}

void tst_SimulatedPc::differencesAreReadable()
{
    SimulatedPc::putString(u"HKCU\\Software\\A"_s, u"Same"_s, u"text"_s);
    SimulatedPc::putString(u"HKCU\\Software\\A"_s, u"Gone"_s, u"text"_s);
    SimulatedPc::putValue(u"HKCU\\Software\\A"_s, u"Longer"_s, regSz, QByteArray("a\0\0\0", 4));
    const MachineSnapshot before = SimulatedPc::snapshot();
    QCOMPARE(SimulatedPc::differences(before, before), QStringList());

    SimulatedPc::removeValue(u"HKCU\\Software\\A"_s, u"GONE"_s);
    SimulatedPc::putDword(u"HKLM\\SYSTEM\\ControlSet001\\B"_s, {}, 255);
    // Same text, another terminator: the bytes have to tell.
    SimulatedPc::putValue(u"HKCU\\Software\\A"_s, u"Longer"_s, regSz, QByteArray("a\0\0\0\0\0", 6));
    QCOMPARE(SimulatedPc::differences(before, SimulatedPc::snapshot()),
             (QStringList{u"- HKCU\\Software\\A [Gone] REG_SZ text"_s, u"- HKCU\\Software\\A [Longer] REG_SZ a"_s,
                          u"+ HKCU\\Software\\A [Longer] REG_SZ a (610000000000)"_s,
                          u"+ HKLM\\SYSTEM\\CurrentControlSet\\B [(Default)] REG_DWORD 0xff"_s}));
}

void tst_SimulatedPc::stateOutlivesTheProcess()
{
    const QString first = SimulatedPc::machineFile();
    QCOMPARE(writeNumber(u"Kept"_s), codeSuccess);
    SimulatedPc::denyReads(u"HKLM\\SAM"_s);
    const MachineSnapshot before = SimulatedPc::snapshot();
    const QString copy = m_dir->filePath(u"copy.db"_s);
    QVERIFY(SimulatedPc::copyTo(copy));

    QVERIFY(SimulatedPc::reset());
    QVERIFY(!SimulatedPc::value(u"HKCU\\"_s + scratch, u"Kept"_s));
    QCOMPARE(SimulatedPc::faults(), QStringList());

    SimulatedPc::setMachineFile(copy);
    QCOMPARE(SimulatedPc::differences(before, SimulatedPc::snapshot()), QStringList());
    QCOMPARE(SimulatedPc::faults(), QStringList{u"deny-reads HKLM\\SAM"_s});
    SimulatedPc::setMachineFile(first);
    QVERIFY(!SimulatedPc::value(u"HKCU\\"_s + scratch, u"Kept"_s));
}

void tst_SimulatedPc::badSeedChangesNothing()
{
    const auto resetWith = [this](const QByteArray& json) {
        QFile file(m_dir->filePath(u"seed.json"_s));
        QString error;
        if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size())
            return u"can't write"_s;
        file.close();
        return SimulatedPc::reset(file.fileName(), &error) ? QString() : error;
    };
    const QByteArray head = R"({"user": {"name": "Robin", "sid": "S-1-5-21-1-2-3-1000"}, "registry": )";

    const MachineSnapshot before = SimulatedPc::snapshot();
    QVERIFY(!resetWith("{").isEmpty());
    QVERIFY(!resetWith("{}").isEmpty());
    QVERIFY(resetWith(head + R"({"HKLM\\A": {"V": ["REG_DWORD", "text"]}}})").contains(u"HKLM\\A"_s));
    QVERIFY(!resetWith(head + R"({"HKLM\\A": {"V": ["REG_OTHER", ""]}}})").isEmpty());
    QVERIFY(!resetWith(head + R"({"Software": {}}})").isEmpty());
    QCOMPARE(SimulatedPc::differences(before, SimulatedPc::snapshot()), QStringList());

    QCOMPARE(resetWith(head + R"({"HKU\\S-1-5-21-1-2-3-1000\\A": {"V": ["REG_QWORD", 9007199254740993]}}})"),
             QString());
    QCOMPARE(SimulatedPc::snapshot().size(), 1);
    QCOMPARE(SimulatedPc::value(u"HKCU\\A"_s, u"V"_s)->data, QByteArray::fromHex("0100000000002000"));
    QCOMPARE(currentUserName(), u"Robin"_s);
}

void tst_SimulatedPc::manyThreadsLoseNothing()
{
    constexpr int rounds = 6;
    constexpr int threads = 4;
    constexpr int valuesEach = 25;
    std::atomic<int> failures{0};
    // Threads come and go, so that the system hands out their identifiers again.
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::jthread> running;
        for (int thread = 0; thread < threads; ++thread) {
            running.emplace_back([round, thread, &failures] {
                for (int i = 0; i < valuesEach; ++i) {
                    const QString name = u"%1-%2-%3"_s.arg(round).arg(thread).arg(i);
                    if (writeNumber(name) != codeSuccess || writeNumber(u"Shared"_s) != codeSuccess
                        || read(RootKey::CurrentUser, scratch, name).code != codeSuccess)
                        ++failures;
                }
            });
        }
    }
    QCOMPARE(failures.load(), 0);
    RegistryKey key;
    QStringList names;
    QCOMPARE(RegistryKey::open(RootKey::CurrentUser, scratch, RegistryAccess::Read, key), codeSuccess);
    QCOMPARE(key.valueNames(names), codeSuccess);
    QCOMPARE(names.size(), rounds * threads * valuesEach + 1);
}

void tst_SimulatedPc::processesMeetOnANewFile()
{
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < 4; ++i) {
        const ToolCommand command = shellCommand(u"reg add HKCU\\Software\\Torvelane\\Test /v %1 /d x /f"_s.arg(i));
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->setProcessChannelMode(QProcess::MergedChannels);
        processes.back()->start(command.program, command.arguments);
    }
    for (const auto& process : processes) {
        QVERIFY(process->waitForFinished());
        QCOMPARE(process->readAll(), QByteArray("The operation completed successfully.\r\n"));
    }
    for (int i = 0; i < 4; ++i)
        QVERIFY(SimulatedPc::value(u"HKCU\\"_s + scratch, QString::number(i)));
    QVERIFY(SimulatedPc::value(u"HKLM\\SOFTWARE\\Microsoft\\Cryptography"_s, u"MachineGuid"_s));
}

void tst_SimulatedPc::secretsAreBoundAndAuthentic()
{
    QByteArray box;
    QByteArray plain;
    for (const QByteArray& secret : {QByteArray(), QByteArray("x"), QByteArray(1000, 's')}) {
        QVERIFY(protectSecret(secret, box));
        QVERIFY(secret.size() < 4 || !box.contains(secret.first(4)));
        QVERIFY(unprotectSecret(box, plain));
        QCOMPARE(plain, secret);
    }

    QVERIFY(protectSecret("secret", box));
    for (qsizetype i = 0; i < box.size(); ++i) {
        QByteArray damaged = box;
        damaged[i] = static_cast<char>(damaged[i] ^ 1);
        QVERIFY2(!unprotectSecret(damaged, plain) && plain.isEmpty(), qPrintable(QString::number(i)));
        QVERIFY(!unprotectSecret(box.first(i), plain));
    }
    QVERIFY(!unprotectSecret(box + 'x', plain));

    const auto renameUser = [](const QString& name) {
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"rename"_s);
            database.setDatabaseName(SimulatedPc::machineFile());
            QVERIFY(database.open());
            QSqlQuery query(database);
            QVERIFY(query.exec(u"UPDATE machine SET generation = generation + 1, userName = '%1'"_s.arg(name)));
        }
        QSqlDatabase::removeDatabase(u"rename"_s);
        (void)SimulatedPc::faults(); // notices the change
    };
    const QString user = currentUserName();
    renameUser(u"Somebody else"_s);
    QVERIFY(!unprotectSecret(box, plain));
    renameUser(user);
    QVERIFY(unprotectSecret(box, plain));
    SimulatedPc::setMachineFile(m_dir->filePath(u"other.db"_s));
    QVERIFY(!unprotectSecret(box, plain));
}

void tst_SimulatedPc::shellCommands_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QStringList>("called");

    const auto row = [](const char* tag, const QString& command, int exitCode, const QByteArray& output,
                        const QStringList& called) { QTest::newRow(tag) << command << exitCode << output << called; };
    row("unknown program", u"ipconfig /flushdns"_s, 0, {}, {u"ipconfig.exe /flushdns"_s});
    row("two commands", u"taskkill /f /im explorer.exe & start explorer.exe"_s, 0, {},
        {u"taskkill.exe /f /im explorer.exe"_s, u"explorer.exe"_s});
    row("operator in quotes", u"powershell -Command \"$a=1; if($a){ b | c } & d\""_s, 0, {},
        {u"powershell.exe -Command $a=1; if($a){ b | c } & d"_s});
    row("and, or", u"exit 3 & echo never"_s, 3, {}, {});
    row("on success", u"reg query HKCU\\Nowhere >nul 2>&1 && echo yes || echo no"_s, 1, "no\r\n",
        {u"reg.exe query HKCU\\Nowhere"_s});
    row("on failure", u"ver && echo yes || echo no"_s, 0, "yes\r\n", {u"ver.exe"_s});
    row("variables", u"echo %userNAME% %windir% %NOT_SET% 100%"_s, 0, "Alex C:\\Windows %NOT_SET% 100%\r\n", {});
    row("escaped", u"echo a ^& b ^^ \"^\""_s, 0, "a & b ^ \"^\"\r\n", {});
    row("outer quotes", u"\"echo \"a b\"\""_s, 0, "\"a b\"\r\n", {});
    row("exit code of the last", u"reg query HKCU\\Nowhere 2>nul & exit /b 7"_s, 7, {},
        {u"reg.exe query HKCU\\Nowhere"_s});
    row("nested", u"cmd /c \"echo inside & exit 4\""_s, 4, "inside\r\n", {});
    row("remark", u"rem echo & echo shown"_s, 0, "shown\r\n", {});
}

void tst_SimulatedPc::shellCommands()
{
    QFETCH(QString, command);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, output);
    QFETCH(QStringList, called);

    const ChildProcessResult result = shell(command);
    QCOMPARE(result.outcome, ChildProcessResult::Outcome::Finished);
    QCOMPARE(result.exitCode, exitCode);
    QCOMPARE(result.output, output);

    const QList<ToolCall> journal = SimulatedPc::journal();
    QCOMPARE(journal.value(0).arguments, (QStringList{u"/c"_s, command}));
    QCOMPARE(journal.value(0).exitCode, exitCode);
    QStringList programs;
    for (const ToolCall& call : journal) {
        if (call.tool != u"cmd.exe")
            programs << (QStringList{call.tool} + call.arguments).join(u' ');
    }
    QCOMPARE(programs, called);
}

void tst_SimulatedPc::regOutput_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("output");

    const auto row = [](const char* tag, const QString& arguments, int exitCode, const QByteArray& output) {
        QTest::newRow(tag) << arguments.split(u' ') << exitCode << output;
    };
    const QByteArray done = "The operation completed successfully.\r\n";
    const QByteArray missing = "ERROR: The system was unable to find the specified registry key or value.\r\n";
    row("query a value", u"query HKCU\\Software\\T /v number"_s, 0,
        "\r\nHKEY_CURRENT_USER\\Software\\T\r\n    number    REG_DWORD    0x2a\r\n\r\n");
    row("query a key", u"query HKCU\\Software\\T"_s, 0,
        "\r\nHKEY_CURRENT_USER\\Software\\T\r\n    Number    REG_DWORD    0x2a\r\n    List    REG_MULTI_SZ    a\\0b\r\n"
        "    Raw    REG_BINARY    00FF\r\n\r\nHKEY_CURRENT_USER\\Software\\T\\Sub\r\n");
    row("query a tree", u"query HKCU\\Software\\T /s"_s, 0,
        "\r\nHKEY_CURRENT_USER\\Software\\T\r\n    Number    REG_DWORD    0x2a\r\n    List    REG_MULTI_SZ    a\\0b\r\n"
        "    Raw    REG_BINARY    00FF\r\n\r\nHKEY_CURRENT_USER\\Software\\T\\Sub\r\n    (Default)    REG_SZ    "
        "text\r\n");
    row("unset default", u"query HKCU\\Software\\T /ve"_s, 0,
        "\r\nHKEY_CURRENT_USER\\Software\\T\r\n    (Default)    REG_SZ    (value not set)\r\n\r\n");
    row("missing key", u"query HKCU\\Software\\Missing"_s, 1, missing);
    row("add hex", u"add HKCU\\Software\\T /v N /t reg_dword /d 0xFFFFFFFF /f"_s, 0, done);
    row("add too much", u"add HKCU\\Software\\T /v N /t REG_DWORD /d 4294967296 /f"_s, 1,
        "ERROR: Invalid syntax. Specify a valid numeric value for '/d'.\r\nType \"REG ADD /?\" for usage.\r\n");
    row("add asks", u"add HKCU\\Software\\T /v Number /d x"_s, 0,
        "Value Number exists, overwrite(Yes/No)? \r\nThe operation was canceled by the user.\r\n");
    row("delete a value", u"delete HKCU\\Software\\T /v NUMBER /f"_s, 0, done);
    row("delete a missing value", u"delete HKCU\\Software\\T /v Missing /f"_s, 1, missing);
    row("delete a tree", u"delete HKCU\\Software\\T /f"_s, 0, done);
    row("delete a hive", u"delete HKLM\\SOFTWARE /f"_s, 1, "ERROR: Access is denied.\r\n");
    row("no key", u"query Software"_s, 1, "ERROR: Invalid key name.\r\nType \"REG QUERY /?\" for usage.\r\n");
    row("unknown option", u"query HKCU /x"_s, 1, "ERROR: Invalid syntax.\r\nType \"REG QUERY /?\" for usage.\r\n");
    row("nothing to do", {}, 1, "ERROR: Invalid syntax.\r\nType \"REG /?\" for usage.\r\n");
}

void tst_SimulatedPc::regOutput()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, output);

    SimulatedPc::putDword(u"HKCU\\Software\\T"_s, u"Number"_s, 42);
    SimulatedPc::putValue(u"HKCU\\Software\\T"_s, u"List"_s, regMultiSz, QByteArray("a\0\0\0b\0\0\0\0\0", 10));
    SimulatedPc::putValue(u"HKCU\\Software\\T"_s, u"Raw"_s, regBinary, QByteArray("\0\xff", 2));
    SimulatedPc::putString(u"HKCU\\Software\\T\\Sub"_s, {}, u"text"_s);

    const MachineSnapshot before = SimulatedPc::snapshot();
    const ChildProcessResult result =
        runChildProcess({.program = systemToolPath(u"reg.exe"_s), .arguments = arguments, .nativeArguments = {}});
    QCOMPARE(result.output, output);
    QCOMPARE(result.exitCode, exitCode);
    const bool changes = output.contains("completed");
    QCOMPARE(SimulatedPc::differences(before, SimulatedPc::snapshot()).isEmpty(), !changes);
    if (arguments == u"delete HKCU\\Software\\T /f"_s.split(u' '))
        QVERIFY(!SimulatedPc::keyExists(u"HKCU\\Software\\T\\Sub"_s));
}

void tst_SimulatedPc::childOutcomes_data()
{
    QTest::addColumn<ToolCommand>("command");
    QTest::addColumn<ChildProcessResult::Outcome>("outcome");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("output");

    using Outcome = ChildProcessResult::Outcome;
    QTest::newRow("exit code") << shellCommand(u"exit 5"_s) << Outcome::Finished << 5 << QByteArray();
    QTest::newRow("both channels in order")
        << shellCommand(u"echo first& reg query HKCU\\Nowhere& echo last"_s) << Outcome::Finished << 1
        << QByteArray("first\r\nERROR: The system was unable to find the specified registry key or value.\r\nlast\r\n");
    QTest::newRow("input has ended")
        << shellCommand(u"reg delete HKCU\\Software\\Valve"_s) << Outcome::Finished << 0
        << QByteArray("Permanently delete the registry key HKEY_CURRENT_USER\\Software\\Valve(Yes/No)? \r\n"
                      "The operation was canceled by the user.\r\n");
    QTest::newRow("missing program") << ToolCommand{u"/nowhere/tool.exe"_s, {}, {}} << Outcome::NotStarted << -1
                                     << QByteArray();
    QTest::newRow("laid down to fail") << shellCommand(u"echo failing"_s) << Outcome::Finished << 9 << QByteArray();
    QTest::newRow("laid down to hang") << shellCommand(u"echo hanging"_s) << Outcome::TimedOut << -1 << QByteArray();
    QTest::newRow("output before the limit") << shellCommand(u"echo before& timeout /t 60& echo after"_s)
                                             << Outcome::TimedOut << -1 << QByteArray("before\r\n");
}

void tst_SimulatedPc::childOutcomes()
{
    QFETCH(ToolCommand, command);
    QFETCH(ChildProcessResult::Outcome, outcome);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, output);

    SimulatedPc::failTool(u"ECHO FAILING"_s, 9);
    SimulatedPc::hangTool(u"echo hanging"_s, 60000);
    QElapsedTimer time;
    time.start();
    const int limitMs = outcome == ChildProcessResult::Outcome::TimedOut ? 1500 : 30000;
    const ChildProcessResult result = runChildProcess(command, {.startTimeoutMs = 5000, .finishTimeoutMs = limitMs});
    QCOMPARE(result.outcome, outcome);
    QCOMPARE(result.exitCode, exitCode);
    QCOMPARE(result.output, output);
    QVERIFY(time.elapsed() < 20000);
}

void tst_SimulatedPc::timedOutChildTakesItsOwnAlong()
{
    const ChildProcessResult result = shell(u"start \"\" cmd /c timeout /t 60 & cmd /c timeout /t 60"_s, 2000);
    QCOMPARE(result.outcome, ChildProcessResult::Outcome::TimedOut);
    const QList<qint64> ids = shellIds();
    QCOMPARE(ids.size(), 3);
    for (const qint64 id : ids)
        QTRY_VERIFY(!isRunning(id));
}

void tst_SimulatedPc::backgroundProcessSurvivesANormalEnd()
{
    QElapsedTimer time;
    time.start();
    const ChildProcessResult result = shell(u"start \"\" cmd /c timeout /t 60"_s);
    QCOMPARE(result.outcome, ChildProcessResult::Outcome::Finished);
    QVERIFY2(time.elapsed() < 20000, "waited for the background process");
    QTRY_COMPARE(shellIds().size(), 2);
    const qint64 background = shellIds().last();
    QTest::qWait(100);
    const bool survived = isRunning(background);
    ::kill(static_cast<pid_t>(background), SIGKILL);
    QVERIFY(survived);
}

void tst_SimulatedPc::noDescendantSurvivesACrash()
{
    QProcess program;
    program.start(QCoreApplication::applicationFilePath(), {u"--hold-a-child"_s});
    QVERIFY(program.waitForStarted());
    QTRY_COMPARE(shellIds().size(), 2);
    const QList<qint64> ids = shellIds();
    for (const qint64 id : ids)
        QVERIFY(isRunning(id));

    ::kill(static_cast<pid_t>(program.processId()), SIGKILL);
    for (const qint64 id : ids)
        QTRY_VERIFY(!isRunning(id));
    QTRY_COMPARE(program.state(), QProcess::NotRunning);
}

void tst_SimulatedPc::largeOutputIsDrained()
{
    // More than a pipe holds.
    const ChildProcessResult result = shell(u"reg query HKLM /s & reg query HKLM /s"_s);
    QCOMPARE(result.outcome, ChildProcessResult::Outcome::Finished);
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.output.size() > 80000);
    QVERIFY(result.output.first(result.output.size() / 2) == result.output.sliced(result.output.size() / 2));
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc == 2 && qstrcmp(argv[1], "--hold-a-child") == 0)
        return shell(u"cmd /c timeout /t 60"_s, 60000).exitCode;
    tst_SimulatedPc test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_SimulatedPc.moc"
