#include "app/LedgerBench.h"
#include "core/JsonFile.h"
#include "platform/Hardening.h"
#include "support/Child.h"
#include "support/MachineWatch.h"
#include "system/UndoFile.h"
#include "tweaks/StateSql.h"

#include <QDeadlineTimer>

#include <map>
#include <utility>

namespace {

/// Switches this and that, at random, in a process that stops for good at the given event, if it comes to it.
int runChild(const QStringList& arguments)
{
    platform::prepareProcess();
    QRandomGenerator random(arguments.at(0).toUInt());
    const auto event = stopAtEvent(arguments.at(1).toInt());
    Program program;
    watchMachine([&event] { event(); });
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

} // namespace

/// All that holds registry values, switched on and off in any order. TORVELANE_RANDOM_SEED repeats a run,
/// TORVELANE_RANDOM_SECONDS lengthens it.
class tst_Ledger : public MachineSuite {
    Q_OBJECT

private:
    const quint32 m_seed = randomSeed();
    QRandomGenerator m_random;
    QList<ValueLedger::Held> m_gamingValues;
    std::optional<Program> m_program;

    int below(qsizetype limit) { return static_cast<int>(m_random.bounded(static_cast<int>(limit))); }

    void startProgram()
    {
        m_program.emplace();
        if (m_gamingValues.isEmpty()) {
            QVERIFY(GamingMode::activate().ok);
            m_gamingValues = m_program->context.ledger.heldValues();
            QVERIFY(GamingMode::deactivate().ok);
            QCOMPARE(m_gamingValues.size(), 20);
        }
        for (const ValueLedger::Held& value : std::as_const(m_gamingValues))
            m_program->places.emplace(value.place.key(), value.place);
    }

    /// Each switched on alone over values that nobody wants.
    void learnWishes()
    {
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
    void init()
    {
        MachineSuite::init();
        m_random.seed(m_seed);
        startProgram();
    }
    /// Some machines outlive the test.
    void cleanup()
    {
        m_program->everythingOff();
        for (const auto& [key, value] : std::exchange(initialValues(), {})) {
            const QStringList place = key.split(u'|');
            QVERIFY(writeValue(parseHive(place.at(0), nullptr), place.at(1), place.at(2), value));
        }
        m_program.reset();
        MachineSuite::cleanup();
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
        for (int round = 0; round < 2 || (ended == 0 && round < 40) || !end.hasExpired(); ++round) {
            m_program.reset();
            const QString stopAt = QString::number(1 + below(machineCanBeWatched ? 150 : 25));
            Child ending(*m_machine, {QString::number(m_random.generate()), stopAt});
            Child other(*m_machine, {QString::number(m_random.generate()), u"0"_s});
            if (ending.hasStopped()) {
                ending.crash();
                ++ended;
            }
            QVERIFY(ending.state() == QProcess::NotRunning || ending.waitForFinished(Child::longMs));
            QVERIFY(other.hasSucceeded());
            startProgram();
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
    void snapshotsOfTheVersionBefore()
    {
        const QString id = u"opt.max-system-responsiveness"_s;
        const ValuePlace place{RegistryHive::LocalMachine,
                               u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Multimedia\\SystemProfile"_s,
                               u"SystemResponsiveness"_s};
        const auto present = [&place] { return machineValue(place.path, place.name); };
        const auto entryOff = [&] { return m_program->context.engine->revertTweak(id, &m_program->error, true); };
        for (const bool isReverse : {true, false}) {
            m_program->arrange([](const ValuePlace&) { return number(20); });
            QVERIFY(GamingMode::activate().ok);
            QVERIFY(m_program->context.engine->applyTweak(id, Tier::Pro, &m_program->error, false));
            stateSql(u"UPDATE tweak_state SET apply_sequence=NULL, capture=replace(capture, '\"number\":20', "
                     "'\"number\":0')"_s);
            stateSql(u"DELETE FROM holder_order"_s);
            QVERIFY(isReverse ? entryOff() : GamingMode::deactivate().ok);
            QCOMPARE(present(), number(isReverse ? 0 : 10));
            QVERIFY(isReverse ? GamingMode::deactivate().ok : entryOff());
            QCOMPARE(present(), number(isReverse ? 20 : 0));
        }
    }

    /// Gaming Mode and a program take nothing for an original that only a row knows that can't be read. A snapshot that is
    /// none holds nothing, and says so.
    void lostOriginals()
    {
        const QString id = u"opt.disable-gamedvr"_s;
        m_program->arrange([](const ValuePlace&) { return number(20); });
        QVERIFY(m_program->context.engine->applyTweak(id, Tier::Pro, &m_program->error, false));
        const MachineImage before = TestMachine::image();
        stateSql(u"UPDATE tweak_state SET capture='{'"_s);
        const GamingResult result = GamingMode::activate();
        QVERIFY(!result.ok);
        QVERIFY2(result.message.startsWith(u"The original value of HKCU\\System\\GameConfigStore [GameDVR_Enabled] "),
                 qPrintable(result.message));
        QVERIFY(!GamingMode::isActive());
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        stateSql(u"UPDATE tweak_state SET state='reverted'"_s);
        QFile file(QDir(Paths::dataDir()).filePath(u"gaming_mode.json"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("{\"active\": tr") > 0);
        file.close();
        const LogCapture log;
        QCOMPARE(m_program->context.ledger.heldValues().size(), 0);
        QVERIFY(
            log.lines().constFirst().startsWith(u"[WARN] ledger: gaming_mode.json is no snapshot and holds nothing: "));
    }

    /// The form of what Windows imports: every kind, absence, a holder that can't be undone.
    void undoFile()
    {
        const auto held = [](const QString& name, const std::optional<RegistryValue>& original,
                             const QStringList& holders = {u"a"_s}) {
            return ValueLedger::Held{{RegistryHive::CurrentUser, u"Soft\\Key"_s, name}, original, {}, holders};
        };
        const QByteArray text =
            undoFileText({held(u"a\"\\"_s, number(0x1F)),
                          held(u"b"_s, RegistryValue(), {u"a"_s, u"b"_s}),
                          held(u"c"_s, RegistryValue{true, RegistryValueKind::Qword, 0x0102030405060708, {}, {}}),
                          held(u"d"_s, RegistryValue{true, RegistryValueKind::Sz, 0, u"\"x\" \\é"_s, {}}),
                          held(u"e"_s, RegistryValue{true, RegistryValueKind::Sz, 0, u"\n"_s, {}}),
                          held(u"f"_s, RegistryValue{true, RegistryValueKind::ExpandSz, 0, u"%"_s, {}}),
                          held(u"g"_s, RegistryValue{true, RegistryValueKind::Binary, 0, {}, QByteArray(26, '\xAB')}),
                          held(u"h"_s, std::nullopt),
                          held(u"i\n[HKEY_USERS]"_s, number(1), {u"c\n\"x\"=-"_s}),
                          {{RegistryHive::LocalMachine, u"K"_s, {}}, number(2), {}, {u"a"_s}}});
        QStringView units(reinterpret_cast<const char16_t*>(text.constData()), text.size() / 2);
        QCOMPARE(units.first(), QChar(0xFEFF));
        const QString expected = u"Windows Registry Editor Version 5.00\n\n"
                                 "; Puts back every registry value that Torvelane has changed at present.\n\n"
                                 "[HKEY_CURRENT_USER\\Soft\\Key]\n"
                                 "; a\n\"a\\\"\\\\\"=dword:0000001f\n"
                                 "; a\n; b\n\"b\"=-\n"
                                 "; a\n\"c\"=hex(b):08,07,06,05,04,03,02,01\n"
                                 "; a\n\"d\"=\"\\\"x\\\" \\\\é\"\n"
                                 "; a\n\"e\"=hex(1):0a,00,00,00\n"
                                 "; a\n\"f\"=hex(2):25,00,00,00\n"
                                 "; a\n\"g\"=hex:"_s
            + u"ab,"_s.repeated(23)
            + u"\\\n  ab,ab,ab\n"
              "; a\n; its original isn't known: HKCU\\Soft\\Key [h]\n"
              "; c \"x\"=-\n; its original isn't known: HKCU\\Soft\\Key [i [HKEY_USERS]]\n\n"
              "[HKEY_LOCAL_MACHINE\\K]\n; a\n@=dword:00000002\n"_s;
        QCOMPARE(units.sliced(1).toString().replace(u"\r\n"_s, u"\n"_s), expected);
    }

    /// undo.reg alone, with the program's folder gone, brings back what was there before a random sequence.
    void undoFileWithoutTheProgram()
    {
        learnWishes();
        m_program->arrange([this](const ValuePlace& place) { return anyValue(place); });
        const Values before = m_program->values();
        for (int step = 0; step < 30; ++step) {
            const Holder& holder = m_program->holders.at(below(m_program->holders.size()));
            QVERIFY(below(3) == 0 ? holder.off() : holder.on());
        }
        const QStringList changed = differing(before, m_program->values());
        QVERIFY(!changed.isEmpty());
        m_program->context.undoFile->flush();
        QFile file(Paths::undoFile());
        QVERIFY(file.open(QIODevice::ReadOnly));
        if (machineCanBeWatched) { // Nobody can import it here.
            QCOMPARE_GE(file.readAll().count(utf16(u"\"="_s, 0)), changed.size());
            return;
        }
        file.close();
        QCOMPARE(QProcess::execute(u"reg.exe"_s, {u"import"_s, QDir::toNativeSeparators(file.fileName())}), 0);
        QCOMPARE(differing(before, m_program->values()), QStringList());
    }

    /// What can't be read may be the only original: nobody captures it again, and it keeps nobody from undoing.
    void rowsThatCannotBeRead()
    {
        const QStringList ids = entries.first(3);
        const auto on = [this](const QString& id) {
            return m_program->context.engine->applyTweak(id, Tier::Pro, &m_program->error, false);
        };
        const auto off = [this](const QString& id) {
            return m_program->context.engine->revertTweak(id, &m_program->error, true);
        };
        m_program->arrange([](const ValuePlace&) { return RegistryValue(); });
        // Cut, of a later version, and of a later kind.
        for (const QString& damage : {u"capture='{\"type\":\"regis'"_s, u"state='paused'"_s,
                                      u"capture=replace(capture, '\"none\"', '\"link\"')"_s}) {
            QVERIFY(on(ids.at(0)) && on(ids.at(1)));
            const Values before = m_program->values();
            stateSql(u"UPDATE tweak_state SET %1 WHERE tweak_id='%2'"_s.arg(damage, ids.at(0)));
            QVERIFY(on(ids.at(2)) && off(ids.at(2)));
            QCOMPARE(differing(before, m_program->values()), QStringList());
            QVERIFY(off(ids.at(1)));
            QVERIFY(!on(ids.at(2)));
            QVERIFY2(m_program->error.endsWith(u" is held by torv.ram.svchost-8gb and can't be read"),
                     qPrintable(m_program->error));
            stateSql(u"UPDATE tweak_state SET state='reverted'"_s);
            m_program->arrange([](const ValuePlace&) { return RegistryValue(); });
        }
    }
};

int main(int argc, char** argv)
{
    return runSuite<tst_Ledger>(argc, argv, runChild);
}

#include "tst_Ledger.moc"
