#include "app/AppContext.h"
#include "core/JsonFile.h"
#include "core/Paths.h"
#include "optimizers/AppOptimizer.h"
#include "optimizers/GamingMode.h"
#include "optimizers/ServiceProfiles.h"
#include "platform/Hardening.h"
#include "support/LogCapture.h"
#include "support/MachineWatch.h"
#include "support/TestMachine.h"
#include "system/RegistryAccess.h"
#include "system/UndoFile.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/StateSql.h"
#include "tweaks/TweakEngine.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

using Values = std::map<QString, RegistryValue>; ///< By the place's key.

/// The entries of the catalogue that share values with each other, with Gaming Mode, the services' profiles and programs,
/// and one that shares none.
const QStringList entries =
    QStringLiteral("torv.ram.svchost-8gb torv.ram.svchost-16gb torv.ram.svchost-32gb "
                   "opt.max-system-responsiveness opt.disable-network-throttling "
                   "opt.gaming-mmcss-priority opt.foreground-priority-boost opt.enable-gpu-scheduling "
                   "opt.enable-game-mode opt.disable-gamedvr opt.disable-fullscreen-optimizations "
                   "periph.disable-mouse-acceleration torv.net.qos-autotuning-off "
                   "torv.net.ping-reduce-full ram.enable-superfetch torv.opt.disable-xbox-services "
                   "torv.opt.disable-services-background torv.opt.disable-diagtrack "
                   "opt.disable-bluetooth-services opt.disable-search-indexing torv.opt.boost-fps-games "
                   "torv.opt.high-priority-fortnite "
                   "selftest.toggle")
        .split(u' ');

const QStringList programs{u"cs2.exe"_s, u"FortniteClient-Win64-Shipping.exe"_s};

/// Something that can be switched, and what it wants of each value.
struct Holder {
    QString name;
    std::function<bool()> on;
    std::function<bool()> off;
    QString instead; ///< Of those with the same text only one can be on.
    Values wishes;
};

RegistryValue number(quint32 content)
{
    return {true, RegistryValueKind::Dword, content, {}, {}};
}

/// The program, with all that can be switched.
struct Program {
    Program()
    {
        if (!context.init())
            qFatal("The program could not be brought up");
        for (const QString& id : entries) {
            const auto tweak = std::dynamic_pointer_cast<RegistryTweak>(context.catalog.implementation(id));
            if (!tweak)
                qFatal("No such entry: %s", qPrintable(id));
            for (const RegistryOperation& operation : tweak->operations())
                places.emplace(operation.place().key(), operation.place());
            holders.append({id,
                            [this, id] { return context.engine->applyTweak(id, Tier::Pro, &error, false); },
                            [this, id] { return context.engine->revertTweak(id, &error, true); },
                            {},
                            {}});
        }
        holders.append({u"Gaming Mode"_s,
                        [] { return GamingMode::activate().ok; },
                        [] { return GamingMode::deactivate().ok; },
                        {},
                        {}});
        for (const auto profile : {ServiceProfileId::Basic, ServiceProfileId::Advanced}) {
            holders.append({profile == ServiceProfileId::Basic ? u"Basic"_s : u"Advanced"_s,
                            [this, profile] { return services.apply(profile).ok; },
                            [this] { return services.restoreDefaults().ok; },
                            u"services"_s,
                            {}});
        }
        for (const QString& name : programs) {
            holders.append({name,
                            [this, name] { return apps.optimize(u"C:\\Games\\"_s + name).ok; },
                            [this, name] { return apps.restore(name).ok; },
                            {},
                            {}});
        }
        for (const QString& service : ServiceProfiles::servicesFor(ServiceProfileId::Advanced)) {
            const ValuePlace place{RegistryHive::LocalMachine, u"SYSTEM\\CurrentControlSet\\Services\\"_s + service,
                                   u"Start"_s};
            places.emplace(place.key(), place);
        }
    }

    void everythingOff()
    {
        for (Holder& holder : holders) {
            if (!holder.off())
                qFatal("%s stays: %s", qPrintable(holder.name), qPrintable(error));
        }
    }

    /// What stands in all of the places.
    [[nodiscard]] Values values() const
    {
        Values found;
        for (const auto& [key, place] : places) {
            if (!readValue(place.hive, place.path, place.name, found[key]))
                qFatal("A value could not be read");
        }
        return found;
    }

    /// Puts a value of its own into every place.
    void arrange(const std::function<RegistryValue(const ValuePlace& place)>& value) const
    {
        for (const auto& [key, place] : places) {
            if (!writeValue(place.hive, place.path, place.name, value(place)))
                qFatal("A value could not be written");
        }
    }

    AppContext context;
    ServiceProfiles services;
    AppOptimizer apps;
    QList<Holder> holders;
    std::map<QString, ValuePlace> places;
    QString error;
};

QStringList differing(const Values& expected, const Values& found)
{
    QStringList keys;
    for (const auto& [key, value] : expected) {
        if (found.at(key) != value)
            keys.append(key);
    }
    return keys;
}

/// Switches this and that, at random, in a process that stops for good at the given event, if it comes to it.
int runChild(const QStringList& arguments)
{
    Paths::setDataDirOverride(arguments.at(2));
    platform::prepareProcess();
    QRandomGenerator random(arguments.at(3).toUInt());
    const int stopAt = arguments.at(4).toInt();
    Program program;
    int events = 0;
    const auto event = [&] {
        if (++events != stopAt)
            return;
        std::puts("stopped");
        std::fflush(stdout);
        while (std::fgetc(stdin) != EOF) { }
        std::_Exit(3);
    };
    watchMachine(event);
    program.context.store.setCommitObserver([&event](bool, const char*) { event(); });
    JsonFile::setCommitObserver([&event](bool) { event(); });
    for (int step = 0; step < 12; ++step) {
        const Holder& holder = program.holders.at(random.bounded(static_cast<int>(program.holders.size())));
        std::ignore = random.bounded(2) == 0 ? holder.off() : holder.on();
    }
    watchMachine({});
    program.context.store.setCommitObserver({});
    JsonFile::setCommitObserver({});
    return 0;
}

bool isStart(const ValuePlace& place)
{
    return place.name == u"Start";
}

} // namespace

/// All that holds registry values, switched on and off in any order. TORVELANE_RANDOM_SEED repeats a run,
/// TORVELANE_RANDOM_SECONDS lengthens it.
class tst_Ledger : public QObject {
    Q_OBJECT

private:
    const QString m_anySeed = QString::number(QRandomGenerator::system()->generate());
    const quint32 m_seed = qEnvironmentVariable("TORVELANE_RANDOM_SEED", m_anySeed).toUInt();
    QRandomGenerator m_random;
    std::optional<TestMachine> m_machine;
    std::optional<Program> m_program;

    int below(qsizetype limit) { return static_cast<int>(m_random.bounded(static_cast<int>(limit))); }

    void start()
    {
        m_program.reset();
        m_machine.reset();
        m_machine.emplace();
        m_program.emplace();
    }

    /// Each switched on alone over values that nobody wants.
    void learnWishes()
    {
        QVERIFY(GamingMode::activate().ok);
        const QList<ValueLedger::Held> held = m_program->context.ledger.heldValues();
        QCOMPARE(held.size(), 20);
        for (const ValueLedger::Held& value : held)
            m_program->places.emplace(value.place.key(), value.place);
        QVERIFY(GamingMode::deactivate().ok);
        m_program->arrange([](const ValuePlace&) { return number(77); });
        const Values before = m_program->values();
        for (Holder& holder : m_program->holders) {
            QVERIFY2(holder.on(), qPrintable(holder.name + m_program->error));
            const Values after = m_program->values();
            for (const auto& [key, value] : after) {
                if (value != before.at(key))
                    holder.wishes.emplace(key, value);
            }
            QVERIFY2(!holder.wishes.empty(), qPrintable(holder.name));
            QVERIFY(holder.off());
            QCOMPARE(differing(before, m_program->values()), QStringList());
        }
    }

    /// Any kind, or none. A service keeps a start type that a profile takes.
    RegistryValue anyValue(const ValuePlace& place)
    {
        if (isStart(place))
            return number(2 + static_cast<quint32>(below(2)));
        const auto small = static_cast<quint64>(below(5));
        switch (below(6)) {
        case 0:
            return {true, RegistryValueKind::Dword, small, {}, {}};
        case 1:
            return {true, RegistryValueKind::Qword, small << 40, {}, {}};
        case 2:
            return {true, RegistryValueKind::Sz, 0, QString::number(small), {}};
        case 3:
            return {true, RegistryValueKind::ExpandSz, 0, u"%A%\"\\\n"_s, {}};
        default:
            return {};
        }
    }

private Q_SLOTS:
    void initTestCase() { qInfo("TORVELANE_RANDOM_SEED=%u", m_seed); }
    void init()
    {
        m_random.seed(m_seed);
        start();
    }
    void cleanup()
    {
        m_program.reset();
        m_machine.reset();
    }

    /// At every step each value is the wish of its last holder; with everything off, the machine is as it was.
    void anyOrder()
    {
        learnWishes();
        if (QTest::currentTestFailed())
            return;
        const QString seconds = qEnvironmentVariable("TORVELANE_RANDOM_SECONDS", fullRun() ? u"60"_s : u"1"_s);
        const QDeadlineTimer end(1000 * seconds.toInt());
        int rounds = 0;
        for (; rounds < 2 || !end.hasExpired(); ++rounds) {
            m_program->arrange([this](const ValuePlace& place) { return anyValue(place); });
            const MachineImage before = TestMachine::image();
            const Values originals = m_program->values();
            QList<const Holder*> active; // the latest last
            QStringList story;
            int steps = 40;
            while (steps > 0 || !active.isEmpty()) {
                const Holder& holder = --steps > 0 ? m_program->holders.at(below(m_program->holders.size()))
                                                   : *active.at(below(active.size()));
                const bool isOff = active.removeOne(&holder);
                if (!isOff && !holder.instead.isEmpty())
                    active.removeIf([&holder](const Holder* one) { return one->instead == holder.instead; });
                story.append((isOff ? u"- "_s : u"+ "_s) + holder.name);
                QVERIFY2(isOff ? holder.off() : holder.on(), qPrintable(m_program->error));
                if (!isOff)
                    active.append(&holder);
                Values expected = originals;
                for (const Holder* one : std::as_const(active)) {
                    for (const auto& [key, wish] : one->wishes)
                        expected[key] = wish;
                }
                const QStringList wrong = differing(expected, m_program->values());
                QVERIFY2(wrong.isEmpty(), qPrintable(story.join(u'\n') + u'\n' + wrong.join(u'\n')));
            }
            QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
        }
        qInfo("%d rounds", rounds);
    }

    /// Two processes that switch at random, one of which ends somewhere in the middle. Whatever they leave, with everything
    /// off the machine is as it was.
    void crashes()
    {
        m_program->arrange([this](const ValuePlace& place) { return anyValue(place); });
        const Values before = m_program->values();
        const QDeadlineTimer end(fullRun() ? 60000 : 1500);
        int ended = 0;
        for (int round = 0; round < 2 || !end.hasExpired(); ++round) {
            m_program.reset();
            std::array<QProcess, 2> children;
            for (QProcess& child : children) {
                const int stopAt = &child == &children.front() ? 1 + below(150) : 0;
                child.setEnvironment(QProcess::systemEnvironment() + m_machine->childEnvironment());
                child.setStandardErrorFile(QProcess::nullDevice());
                child.start(QCoreApplication::applicationFilePath(),
                            {u"--child"_s, m_machine->dataDir(), QString::number(m_random.generate()),
                             QString::number(stopAt)});
            }
            constexpr int longMs = 60000;
            while (!children.front().canReadLine() && children.front().waitForReadyRead(longMs)) { }
            if (children.front().canReadLine()) {
                children.front().kill();
                ++ended;
            }
            for (QProcess& child : children)
                QVERIFY(child.state() == QProcess::NotRunning || child.waitForFinished(longMs));
            QCOMPARE(children.back().exitCode(), 0);
            m_program.emplace();
            if (round % 2 == 0)
                continue;
            std::shuffle(m_program->holders.begin(), m_program->holders.end(), m_random);
            m_program->everythingOff();
            QCOMPARE(differing(before, m_program->values()), QStringList());
        }
        QVERIFY(ended > 0);
        qInfo("%d ends", ended);
    }

    /// What a version without a ledger has captured of another one's value can't be told from an original. It restores as
    /// it always did: in the reverse order everything comes back, in another one the other's value stays.
    void snapshotsOfTheVersionBefore_data()
    {
        QTest::addColumn<bool>("isReverse");
        QTest::newRow("reverse order") << true;
        QTest::newRow("another order") << false;
    }

    void snapshotsOfTheVersionBefore()
    {
        QFETCH(bool, isReverse);
        const QString id = u"opt.max-system-responsiveness"_s;
        const ValuePlace place{RegistryHive::LocalMachine,
                               u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Multimedia\\SystemProfile"_s,
                               u"SystemResponsiveness"_s};
        const auto present = [&place] {
            RegistryValue value;
            return readValue(place.hive, place.path, place.name, value) ? value : RegistryValue();
        };
        QVERIFY(writeDword(place.hive, place.path, place.name, 20));
        QVERIFY(GamingMode::activate().ok);
        QVERIFY(m_program->context.engine->applyTweak(id, Tier::Pro, &m_program->error, false));
        stateSql(u"UPDATE tweak_state SET apply_sequence=NULL, capture=replace(capture, '\"number\":20', "
                 "'\"number\":0')"_s);
        stateSql(u"DELETE FROM holder_order"_s);
        const auto entryOff = [&] { return m_program->context.engine->revertTweak(id, &m_program->error, true); };
        QVERIFY(isReverse ? entryOff() : GamingMode::deactivate().ok);
        QCOMPARE(present(), number(isReverse ? 0 : 10));
        QVERIFY(isReverse ? GamingMode::deactivate().ok : entryOff());
        QCOMPARE(present(), number(isReverse ? 20 : 0));
    }

    /// A snapshot that is none holds nothing, and says so.
    void snapshotsThatAreNone()
    {
        QVERIFY(GamingMode::activate().ok);
        QCOMPARE(m_program->context.ledger.heldValues().size(), 20);
        const LogCapture log;
        QFile file(QDir(Paths::dataDir()).filePath(u"gaming_mode.json"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("{\"active\": tr") > 0);
        file.close();
        QCOMPARE(m_program->context.ledger.heldValues().size(), 0);
        QVERIFY(
            log.lines().join(u'\n').contains(u"[WARN] ledger: gaming_mode.json is no snapshot and holds nothing: "_s));
    }

    /// Gaming Mode and a program take nothing for an original that only a row knows that can't be read.
    void lostOriginals()
    {
        const QString id = u"opt.disable-gamedvr"_s;
        QVERIFY(m_program->context.engine->applyTweak(id, Tier::Pro, &m_program->error, false));
        const MachineImage before = TestMachine::image();
        stateSql(u"UPDATE tweak_state SET capture='{'"_s);
        const GamingResult result = GamingMode::activate();
        QVERIFY(!result.ok);
        QVERIFY2(result.message.startsWith(u"The original value of HKCU\\System\\GameConfigStore [GameDVR_Enabled] "),
                 qPrintable(result.message));
        QVERIFY(!GamingMode::isActive());
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    /// What can't be read may be the only original: nobody captures it again, and it keeps nobody from undoing.
    void rowsThatCannotBeRead_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::newRow("cut") << u"capture='{\"type\":\"regis'"_s;
        QTest::newRow("of a later version") << u"state='paused'"_s;
        QTest::newRow("of a later kind") << u"capture=replace(capture, '\"none\"', '\"link\"')"_s;
    }

    void rowsThatCannotBeRead()
    {
        QFETCH(QString, damage);
        const QStringList ids = entries.first(3);
        m_program->arrange([](const ValuePlace&) { return RegistryValue(); });
        const auto on = [this](const QString& id) {
            return m_program->context.engine->applyTweak(id, Tier::Pro, &m_program->error, false);
        };
        QVERIFY(on(ids.at(0)) && on(ids.at(1)));
        const Values before = m_program->values();
        stateSql(u"UPDATE tweak_state SET %1 WHERE tweak_id='%2'"_s.arg(damage, ids.at(0)));
        QVERIFY(on(ids.at(2)));
        QVERIFY(m_program->context.engine->revertTweak(ids.at(2), &m_program->error, true));
        QCOMPARE(differing(before, m_program->values()), QStringList());
        QVERIFY(m_program->context.engine->revertTweak(ids.at(1), &m_program->error, true));
        QVERIFY(!on(ids.at(2)));
        QCOMPARE(m_program->error,
                 ids.at(2)
                     + u": Capture failed: The original of HKLM\\SYSTEM\\ControlSet001\\Control "
                       "[SvcHostSplitThresholdInKB] is held by torv.ram.svchost-8gb and can't be read"_s);
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (const QStringList arguments = QCoreApplication::arguments(); arguments.value(1) == u"--child")
        return runChild(arguments);
    tst_Ledger suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "tst_Ledger.moc"
