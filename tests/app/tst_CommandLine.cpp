#include "registry/RegistryAccess.h"
#include "registry/RegistryJson.h"
#include "support/TestMachine.h"
#include "tweaks/StateStore.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QProcess>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

constexpr int programTimeoutMs = 60000;
const QString selfTestPath = u"Software\\Torvelane\\SelfTest"_s;
const QString freeTweak = u"explorer.show-hidden-files"_s;
const QString proTweak = u"opt.disable-network-throttling"_s;

struct Run {
    QString output;
    int exitCode = -1;

    bool operator==(const Run&) const = default;
};

char* toString(const Run& run)
{
    return QTest::toString(QString(run.output % u"-> "_s % QString::number(run.exitCode)));
}

} // namespace

/// The finished program as scripts and support use it: a process, its text and its exit code.
class tst_CommandLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_machine = std::make_unique<TestMachine>(); }
    void cleanup();

    void statusBlock();
    void listFollowsTierAndState();
    void answers_data();
    void answers();
    void applyRevertRestore();
    void selfTestLeavesNothing();
    void sessionOutlivesTheProcess();
    void recoveryComesBeforeTheVerb();
    void onlyTheFirstArgumentIsAVerb();
    void unwritableDataDirectory();

private:
    void start(QProcess& program, const QStringList& arguments, const QString& windowPlatform = {}) const;
    Run torvelane(const QStringList& arguments) const;
    [[nodiscard]] QStringList selection() const;
    [[nodiscard]] QString stateDb() const { return QDir(m_machine->childDataDir()).filePath(u"state.db"_s); }

    std::unique_ptr<TestMachine> m_machine;
};

void tst_CommandLine::cleanup()
{
    torvelane({u"restore-all"_s});
    m_machine.reset();
}

/// Without `windowPlatform` there is no display, and nobody sets one up: verbs need none.
void tst_CommandLine::start(QProcess& program, const QStringList& arguments, const QString& windowPlatform) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QStringList assignments = m_machine->childEnvironment();
    for (const QString& assignment : assignments)
        environment.insert(assignment.section(u'=', 0, 0), assignment.section(u'=', 1));
    for (const QString& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s})
        environment.remove(name);
    if (!windowPlatform.isEmpty())
        environment.insert(u"QT_QPA_PLATFORM"_s, windowPlatform);
    // Where the only instance is found on Unix; the user's own may be running.
    environment.insert(u"TMPDIR"_s, m_machine->scratchFile(u"."_s));
    program.setProcessEnvironment(environment);
    program.setStandardInputFile(QProcess::nullDevice());
    program.start(QStringLiteral(TORVELANE_PROGRAM), arguments);
}

Run tst_CommandLine::torvelane(const QStringList& arguments) const
{
    QProcess program;
    start(program, arguments);
    if (!program.waitForFinished(programTimeoutMs) || program.exitStatus() != QProcess::NormalExit)
        return {QString::fromUtf8(program.readAllStandardError()), -1};
    return {QString::fromUtf8(program.readAllStandardOutput()).remove(u'\r'), program.exitCode()};
}

QStringList tst_CommandLine::selection() const
{
    QStringList ids;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"look"_s);
        database.setDatabaseName(stateDb());
        if (!database.open())
            return {u"unreadable"_s};
        QSqlQuery query(u"SELECT tweak_id FROM tweak_selection"_s, database);
        while (query.next())
            ids.append(query.value(0).toString());
    }
    QSqlDatabase::removeDatabase(u"look"_s);
    return ids;
}

void tst_CommandLine::statusBlock()
{
    const Run hardwareId = torvelane({u"hwid"_s});
    QCOMPARE(torvelane({u"status"_s}),
             (Run{u"Torvelane 1.0.4 — status\n"
                  "  Elevated:       yes\n"
                  "  Hardware ID:    "_s
                      + hardwareId.output
                      + u"  Authenticated:  yes\n"
                        "  Current tier:   pro\n"
                        "  Catalog tweaks: 162\n"
                        "  Applied tweaks: \n"_s,
                  0}));
    static const QRegularExpression identity(u"^([0-9A-F]{8}-){3}[0-9A-F]{8}\\n$"_s);
    QVERIFY2(identity.match(hardwareId.output).hasMatch(), qPrintable(hardwareId.output));
}

void tst_CommandLine::listFollowsTierAndState()
{
    const Run all = torvelane({u"LIST"_s});
    QCOMPARE(all.exitCode, 0);
    QCOMPARE(all.output.count(u"\n"), 162);
    QCOMPARE(all.output.count(u"  [ ] "), 162);
    QCOMPARE(all, torvelane({u"list"_s}));

    torvelane({u"login"_s, u"Ada"_s, u"free"_s});
    torvelane({u"apply"_s, freeTweak});
    const QStringList lines = torvelane({u"list"_s}).output.split(u'\n');
    QVERIFY(lines.contains(u"  [ ] "_s + freeTweak + u"  (requires free, Explorer)  *APPLIED*"_s));
    QVERIFY(lines.contains(u"  [LOCK] "_s + proTweak + u"  (requires pro, Latency)"_s));
    for (const QString& line : lines)
        QCOMPARE(line.startsWith(u"  [LOCK] "), line.contains(u"(requires p"));
    QCOMPARE(torvelane({u"apply"_s, proTweak}),
             (Run{u"Apply failed: "_s + proTweak + u": Requires the pro tier\n"_s, 0}));
}

void tst_CommandLine::answers_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("output");
    QTest::addColumn<int>("exitCode");
    const auto row = [](const char* name, const QString& line, const QString& output, int exitCode) {
        QTest::newRow(name) << line.split(u' ') << output << exitCode;
    };
    row("no id to apply", u"apply"_s, u"Unknown command: apply\n"_s, 2);
    row("no id to revert, capitals", u"REVERT"_s, u"Unknown command: revert\n"_s, 2);
    row("unknown id", u"apply no.such"_s, u"Apply failed: no.such: Unknown tweak id\n"_s, 0);
    row("never applied", u"revert no.such"_s, u"Reverted no.such\n"_s, 0);
    row("no such tier", u"login Ada gold"_s, u"Login failed: unknown tier 'gold'; one of none, free, premium, pro\n"_s,
        2);
    row("no name", u"login  free"_s, u"Login failed: The user name must have 1 to 256 printable characters\n"_s, 1);
    row("nothing to restore", u"restore-all"_s, u"Restored everything.\n"_s, 0);
}

void tst_CommandLine::answers()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, output);
    QFETCH(int, exitCode);
    const MachineImage before = TestMachine::image();
    QCOMPARE(torvelane(arguments), (Run{output, exitCode}));
    QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
}

void tst_CommandLine::applyRevertRestore()
{
    const MachineImage before = TestMachine::image();
    QCOMPARE(torvelane({u"apply"_s, freeTweak}), (Run{u"Applied "_s + freeTweak + u'\n', 0}));
    QCOMPARE(torvelane({u"Apply"_s, proTweak}), (Run{u"Applied "_s + proTweak + u'\n', 0}));
    QCOMPARE_GE(differences(before, TestMachine::image()).size(), 2);
    const QString status = torvelane({u"status"_s}).output;
    QVERIFY2(status.endsWith(u"  Applied tweaks: "_s + freeTweak + u", "_s + proTweak + u'\n'), qPrintable(status));

    QCOMPARE(torvelane({u"revert"_s, freeTweak}), (Run{u"Reverted "_s + freeTweak + u'\n', 0}));
    QCOMPARE(torvelane({u"restore-all"_s}), (Run{u"Restored everything.\n"_s, 0}));
    QVERIFY(torvelane({u"status"_s}).output.endsWith(u"  Applied tweaks: \n"));
    QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
}

void tst_CommandLine::selfTestLeavesNothing()
{
    // One of its two values is there before, as something else.
    QVERIFY(writeQword(RegistryHive::CurrentUser, selfTestPath, u"Label"_s, 5));
    const MachineImage before = TestMachine::image();
    QCOMPARE(torvelane({u"selftest"_s}),
             (Run{u"Self-test: applying selftest.toggle ...\n"
                  "  applied=yes; reverting ...\n"
                  "  applied=no\n"
                  "Self-test OK: apply/capture/revert round-trip succeeded.\n"_s,
                  0}));
    QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
    QVERIFY(deleteValue(RegistryHive::CurrentUser, selfTestPath, u"Label"_s));

    StateStore store;
    QVERIFY(store.open(stateDb()));
    TweakRecord record;
    QVERIFY(store.loadRecord(u"selftest.toggle"_s, record));
    QCOMPARE(record.state, TweakState::Reverted);
    QCOMPARE(selection(), QStringList());

    torvelane({u"login"_s, u"Ada"_s, u"none"_s});
    QCOMPARE(torvelane({u"selftest"_s}).exitCode, 1);
}

void tst_CommandLine::sessionOutlivesTheProcess()
{
    const MachineImage before = TestMachine::image();
    const Run signedIn{u"Signed in as Ada, tier premium\n"_s, 0};
    QCOMPARE(torvelane({u"login"_s, u"Ada"_s, u"Premium"_s}), signedIn);
    QCOMPARE(torvelane({u"heartbeat"_s}), signedIn);
    torvelane({u"apply"_s, freeTweak});
    QCOMPARE(torvelane({u"logout"_s}), (Run{u"Signed out\n"_s, 0}));
    QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
    QCOMPARE(torvelane({u"heartbeat"_s}), (Run{u"Signed out\n"_s, 0}));
    QVERIFY(torvelane({u"status"_s}).output.contains(u"  Authenticated:  no\n  Current tier:   none\n"));

    QCOMPARE(selection(), QStringList(freeTweak));
}

void tst_CommandLine::recoveryComesBeforeTheVerb()
{
    torvelane({u"status"_s});
    const RegistryValue was{true, RegistryValueKind::Sz, 0, u"was here"_s, {}};
    const QJsonObject capture{
        {"type"_L1, "registry"_L1},
        {"entries"_L1, QJsonArray{valueToJson(RegistryHive::CurrentUser, selfTestPath, u"Label"_s, was)}}};
    {
        StateStore store;
        QVERIFY(store.open(stateDb()));
        QVERIFY(store.beginApply(u"selftest.toggle"_s, Tier::Free, capture));
    }
    QCOMPARE(torvelane({u"hwid"_s}).exitCode, 0);
    RegistryValue value;
    QVERIFY(readValue(RegistryHive::CurrentUser, selfTestPath, u"Label"_s, value));
    QVERIFY(deleteValue(RegistryHive::CurrentUser, selfTestPath, u"Label"_s));
    QCOMPARE(value, was);
}

void tst_CommandLine::onlyTheFirstArgumentIsAVerb()
{
    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    start(program, {u"C:\\some\\path"_s, u"status"_s}, u"offscreen"_s);
    QByteArray output;
    while (!output.contains("[INFO] shell: ") && program.waitForReadyRead(programTimeoutMs))
        output += program.readAll();
    QVERIFY2(output.contains("showing main window"), output.constData());
    QVERIFY2(!output.contains("Applied tweaks: "), output.constData());
    program.kill();
    QVERIFY(program.waitForFinished(programTimeoutMs));
}

void tst_CommandLine::unwritableDataDirectory()
{
    // A file in its place denies the folder to everyone.
    QVERIFY(QDir(m_machine->childDataDir()).removeRecursively());
    QFile file(m_machine->childDataDir());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    const Run run = torvelane({u"status"_s});
    QVERIFY(file.remove());
    QCOMPARE(run, (Run{u"FATAL: cannot initialize (data directory not writable).\n"_s, 1}));
}

QTEST_GUILESS_MAIN(tst_CommandLine)

#include "tst_CommandLine.moc"
