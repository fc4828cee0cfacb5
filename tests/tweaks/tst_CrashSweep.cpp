#include "app/AppContext.h"
#include "core/Paths.h"
#include "platform/ProcessSettings.h"
#include "platform/Registry.h"
#include "support/TestMachine.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/RegistryWatch.h"
#include "tweaks/RestoredImage.h"
#include "tweaks/TweakEngine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <cstdio>
#include <cstdlib>
#include <span>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

constexpr int childTimeoutMs = 60000;

/// Where an entry's values stand before it is applied, other than on the machine as it comes.
struct Placed {
    platform::RootKey root;
    QString path;
    QString name;
    quint32 type = platform::regNone; ///< regNone: no such value.
    QByteArray data;

    [[nodiscard]] bool put() const
    {
        platform::RegistryKey key;
        if (platform::RegistryKey::create(root, path, key) != platform::codeSuccess)
            return false;
        const std::span bytes(data.constData(), static_cast<std::size_t>(data.size()));
        return type == platform::regNone ? take()
                                         : key.setValue(name, type, std::as_bytes(bytes)) == platform::codeSuccess;
    }

    [[nodiscard]] bool take() const
    {
        platform::RegistryKey key;
        if (platform::RegistryKey::create(root, path, key) != platform::codeSuccess)
            return false;
        const platform::SystemCode code = key.deleteValue(name);
        return code == platform::codeSuccess || code == platform::codeFileNotFound;
    }
};

/// What the program does with one entry, in a process that stops for good at the given event: before or after a commit
/// of the store or a change of the registry. The parent then ends it, as a crash or a power cut would.
int runChild(const QStringList& arguments)
{
    const QString verb = arguments.at(2);
    const QString id = arguments.at(3);
    const int stopAt = arguments.at(4).toInt();
    Paths::setDataDirOverride(arguments.at(5));
    platform::prepareProcess();

    int events = 0;
    const auto event = [&] {
        if (++events != stopAt)
            return;
        std::puts("stopped");
        std::fflush(stdout);
        while (std::fgetc(stdin) != EOF) { }
        std::_Exit(3);
    };
    watchRegistry(event);
    AppContext context;
    context.store.setCommitObserver([&event](bool, const char*) { event(); });
    if (!context.init())
        return 2;
    bool ok = true;
    if (verb == "apply"_L1)
        ok = context.engine->applyTweak(id, Tier::Pro, nullptr, false);
    else if (verb == "revert"_L1)
        ok = context.engine->revertTweak(id, nullptr, true);
    watchRegistry({});
    return ok ? 0 : 1;
}

/// The state of the entry's row; empty if there is none. Looks at a copy: opening the database would already repair it.
QString rowState(const TestMachine& machine, const QString& id)
{
    const QString copy = machine.scratchFile(u"state.db"_s);
    for (const auto& suffix : {""_L1, "-wal"_L1}) {
        QFile::remove(copy + suffix);
        QFile::copy(Paths::stateDb() + suffix, copy + suffix);
    }
    QString state;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"look"_s);
        database.setDatabaseName(copy);
        QSqlQuery query(database.open() ? database : QSqlDatabase());
        query.prepare(u"SELECT state FROM tweak_state WHERE tweak_id=?"_s);
        query.addBindValue(id);
        if (query.exec() && query.next())
            state = query.value(0).toString();
    }
    QSqlDatabase::removeDatabase(u"look"_s);
    return state;
}

} // namespace

class tst_CrashSweep : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sweep_data();
    void sweep();
    void cleanupTestCase();

private:
    enum class Ending { Completed, Killed, Failed };
    enum class Reached { Nothing, Event, RecoveryEvent };

    Ending run(const TestMachine& machine, const QString& verb, int stopAt = 0);
    void killEverywhere(const QString& verb, int nestedStride, const QSet<QString>& expectedStates);
    Reached kill(const QString& verb, int event, int recoveryEvent);
    void expect(bool condition, const QString& what);
    void expectImage(const MachineImage& expected, const QString& what);

    QString m_id;
    QList<Placed> m_placed;
    MachineImage m_before;
    MachineImage m_applied;
    MachineImage m_restored;
    QSet<QString> m_statesLeft;
    QStringList m_problems;
    int m_kills = 0;
    int m_allKills = 0;
};

void tst_CrashSweep::sweep_data()
{
    using platform::RootKey;
    QTest::addColumn<QString>("id");
    QTest::addColumn<QList<Placed>>("placed");
    QTest::addColumn<int>("nestedStride"); // 0: no kills inside the recovery

    const QString selfTest = u"Software\\Torvelane\\SelfTest"_s;
    const QList<Placed> otherTypes{
        {RootKey::CurrentUser, selfTest, u"Enabled"_s, platform::regExpandSz, QByteArray("%\0x\0%\0\0\0", 8)},
        {RootKey::CurrentUser, selfTest, u"Label"_s, platform::regDword, QByteArray("\7\0\0\1", 4)}};
    QTest::newRow("over other types") << u"selftest.toggle"_s << otherTypes << (registryCanBeWatched ? 3 : 0);
    if (!registryCanBeWatched)
        return;
    const QList<Placed> absent{
        {RootKey::CurrentUser, u"Software\\Microsoft\\GameBar"_s, u"AutoGameModeEnabled"_s, platform::regNone, {}}};
    QTest::newRow("absent before") << u"opt.enable-game-mode"_s << absent << 1;
    QTest::newRow("over a multi-string") << u"tweaks.disable-windows-tips"_s << QList<Placed>() << 2;
    QTest::newRow("over two hives") << u"torv.opt.disable-settings-sync"_s << QList<Placed>() << 7;
    QTest::newRow("commands") << u"tweaks.classic-context-menu"_s << QList<Placed>() << 1;
    if (!fullRun())
        return;
    TweakCatalog catalog;
    QVERIFY(catalog.load(u":/tweaks.json"_s));
    const QList<TweakDefinition> definitions = catalog.definitions();
    for (const TweakDefinition& definition : definitions) {
        const auto tweak = std::dynamic_pointer_cast<RegistryTweak>(catalog.implementation(definition.id));
        if (tweak) {
            QTest::newRow(qPrintable(definition.id))
                << definition.id << QList<Placed>() << (tweak->operations().size() <= 8 ? 1 : 11);
        }
    }
}

/// Apply and revert of one entry, ended at each of their events; the recovery that follows ended at its own; then a
/// start that is left alone. The machine has to be what it was before the entry was applied.
void tst_CrashSweep::sweep()
{
    QFETCH(QString, id);
    QFETCH(QList<Placed>, placed);
    QFETCH(int, nestedStride);
    m_id = id;
    m_placed = placed;
    m_kills = 0;
    m_problems.clear();

    QElapsedTimer timer;
    timer.start();
    {
        const TestMachine machine;
        for (const Placed& value : placed)
            QVERIFY(value.put());
        m_before = TestMachine::image();
        QCOMPARE(run(machine, u"apply"_s), Ending::Completed);
        m_applied = TestMachine::image();
        m_restored = asRestored(m_before, m_applied);
        QCOMPARE(run(machine, u"revert"_s), Ending::Completed);
        QCOMPARE(differences(m_restored, TestMachine::image()).join(u'\n'), QString());
    }
    killEverywhere(u"apply"_s, nestedStride, {QString(), u"capturing"_s, u"applied"_s});
    killEverywhere(u"revert"_s, nestedStride, {u"applied"_s, u"reverting"_s, u"reverted"_s});
    for (const Placed& value : placed)
        QVERIFY(value.take());
    QCOMPARE(m_problems.join(u'\n'), QString());
    qInfo("%s: %d kills in %.1f s", qPrintable(id), m_kills, double(timer.elapsed()) / 1000.0);
    m_allKills += m_kills;
}

void tst_CrashSweep::cleanupTestCase()
{
    qInfo("%d processes were ended in the middle of their work", m_allKills);
}

void tst_CrashSweep::killEverywhere(const QString& verb, int nestedStride, const QSet<QString>& expectedStates)
{
    m_statesLeft.clear();
    int events = 0;
    while (m_problems.isEmpty() && kill(verb, events + 1, 0) != Reached::Nothing) {
        ++events;
        for (int inner = 1; nestedStride > 0 && m_problems.isEmpty(); inner += nestedStride) {
            if (kill(verb, events, inner) != Reached::RecoveryEvent)
                break;
        }
    }
    // Three commits, and each value that changes, with a before and an after: or else this was no sweep.
    const qsizetype valuesChanged = registryCanBeWatched && m_id != u"tweaks.classic-context-menu"
        ? differences(m_before, m_applied).size() / 2
        : 0;
    expect(events >= 6 + 2 * valuesChanged, u"%1 has only %2 events"_s.arg(verb, QString::number(events)));
    expect(m_statesLeft == expectedStates, u"not all states were left behind by "_s + verb);
}

tst_CrashSweep::Reached tst_CrashSweep::kill(const QString& verb, int event, int recoveryEvent)
{
    const QString what = u"%1 ended at event %2, the recovery at %3: "_s.arg(verb).arg(event).arg(recoveryEvent);
    const TestMachine machine;
    for (const Placed& value : std::as_const(m_placed))
        expect(value.put(), u"could not arrange the machine"_s);
    if (verb == u"revert")
        expect(run(machine, u"apply"_s) == Ending::Completed, what + u"could not apply first"_s);

    if (run(machine, verb, event) == Ending::Completed) {
        expectImage(verb == u"apply" ? m_applied : m_restored, what + u"completed"_s);
        expect(run(machine, u"revert"_s) == Ending::Completed, what + u"could not clean up"_s);
        return Reached::Nothing;
    }
    const QString left = rowState(machine, m_id);
    m_statesLeft.insert(left);
    Reached reached = Reached::Event;
    if (recoveryEvent > 0 && run(machine, u"recover"_s, recoveryEvent) == Ending::Killed)
        reached = Reached::RecoveryEvent;

    // The second recovery has nothing left to do and must leave everything as it is.
    for (int i = 0; i < (recoveryEvent == 0 ? 2 : 1); ++i) {
        expect(run(machine, u"recover"_s) == Ending::Completed, what + u"the next start failed"_s);
        const bool stays = left == u"applied";
        expectImage(stays ? m_applied : left.isEmpty() ? m_before : m_restored, what + u"after the next start"_s);
        expect(rowState(machine, m_id) == (left.isEmpty() || stays ? left : u"reverted"_s), what + u"row"_s);
    }
    if (left == u"applied") {
        expect(run(machine, u"revert"_s) == Ending::Completed, what + u"could not revert"_s);
        expectImage(m_restored, what + u"after a revert"_s);
    }
    return reached;
}

tst_CrashSweep::Ending tst_CrashSweep::run(const TestMachine& machine, const QString& verb, int stopAt)
{
    QProcess child;
    child.setEnvironment(QProcess::systemEnvironment() + machine.childEnvironment());
    child.setStandardErrorFile(QProcess::nullDevice());
    child.start(QCoreApplication::applicationFilePath(),
                {u"--child"_s, verb, m_id, QString::number(stopAt), machine.dataDir()});
    while (!child.canReadLine() && child.waitForReadyRead(childTimeoutMs)) { }
    if (child.canReadLine()) {
        child.kill();
        child.waitForFinished(childTimeoutMs);
        ++m_kills;
        return Ending::Killed;
    }
    const bool ended = child.state() == QProcess::NotRunning || child.waitForFinished(childTimeoutMs);
    return ended && child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0 ? Ending::Completed
                                                                                        : Ending::Failed;
}

void tst_CrashSweep::expect(bool condition, const QString& what)
{
    if (!condition)
        m_problems.append(what);
}

void tst_CrashSweep::expectImage(const MachineImage& expected, const QString& what)
{
    const QStringList lines = differences(expected, TestMachine::image());
    expect(lines.isEmpty(), what + u'\n' + lines.join(u'\n'));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 6 && qstrcmp(argv[1], "--child") == 0)
        return runChild(QCoreApplication::arguments());
    tst_CrashSweep test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_CrashSweep.moc"
