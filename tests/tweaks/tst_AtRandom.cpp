#include "support/Suite.h"
#include "tweaks/StateSql.h"
#include "tweaks/StateStore.h"
#include "tweaks/Sweeps.h"
#include "tweaks/TweakEngine.h"

#include <QDeadlineTimer>

/// Any order and any input. TORVELANE_RANDOM_SEED repeats a run, TORVELANE_RANDOM_SECONDS is how long one test takes.
class tst_AtRandom : public MachineSuite {
    Q_OBJECT

private:
    const quint32 m_seed = randomSeed();
    QRandomGenerator m_random;

    /// Random input from files that others can write: no crash, and no touch of anything but the named values, which are
    /// in the scratch key. Some rounds also on a machine that is busy with other things.
    template <typename Once>
    void repeat(Once once)
    {
        constexpr int minRounds = 20;
        const MachineImage before = TestMachine::image();
        const QDeadlineTimer end(
            1000 * qEnvironmentVariable("TORVELANE_RANDOM_SECONDS", fullRun() ? u"12"_s : u"1"_s).toInt());
        int rounds = 0;
        for (; (!end.hasExpired() || rounds < minRounds) && !QTest::currentTestFailed(); ++rounds)
            once();
        qInfo("%d inputs", rounds);
        for (const QString& line : differences(before, TestMachine::image()))
            QVERIFY2(line.mid(2).startsWith(u"HKCU\\"_s + scratchKey, Qt::CaseInsensitive), qPrintable(line));
    }

    int below(int limit) { return static_cast<int>(m_random.bounded(limit)); }
    bool oneIn(int n) { return below(n) == 0; }
    QJsonValue mostly(const QJsonValue& right) { return oneIn(6) ? json() : right; }

    QByteArray bytes(int limit)
    {
        QByteArray data(below(limit), Qt::Uninitialized);
        std::ranges::generate(data, [this] { return static_cast<char>(below(256)); });
        return data;
    }

    QString text(int limit)
    {
        static const QString telling = u"\\\\//%\"'[]{}<>.*?\0\n\r\t éÉßİ漢\u202e\xd800\xdc00\xffff"_s;
        QString string(below(oneIn(50) ? 70000 : limit), Qt::Uninitialized);
        std::ranges::generate(
            string, [this] { return oneIn(2) ? telling.at(below(int(telling.size()))) : QChar('a' + below(26)); });
        return string;
    }

    QJsonValue json()
    {
        static const QJsonArray telling{QJsonValue::Null,       true,  -1,           0.5,          4294967296.0,
                                        18446744073709551616.0, 1e308, QJsonArray(), QJsonObject()};
        return oneIn(4) ? QJsonValue(text(12)) : telling.at(below(int(telling.size())));
    }

    QJsonObject operation(const QString& contentKey)
    {
        static const QStringList kinds = u"none,dword,QWORD,sz, expandsz ,binary,multi"_s.split(u',');
        const QString path = scratchKey % (oneIn(2) ? QString() : u'\\' + text(20));
        const QJsonValue content = oneIn(2) ? json() : QString::fromLatin1(bytes(40).toHex());
        return {{u"hive"_s, mostly(u"HKCU"_s)},
                {u"path"_s, oneIn(6) ? QJsonValue(below(9)) : path},
                {u"name"_s, mostly(text(20))},
                {u"exists"_s, mostly(true)},
                {u"valueType"_s, mostly(kinds.at(below(int(kinds.size()))))},
                {u"number"_s, json()},
                {u"text"_s, mostly(text(300))},
                {contentKey, content}};
    }

    /// Mostly a capture; sometimes a damaged one, one cut short, or no JSON at all.
    QByteArray capture()
    {
        QJsonArray entries;
        for (int i = below(5); i > 0; --i)
            entries.append(mostly(operation(u"binary"_s)));
        const QJsonObject object{{u"type"_s, mostly(u"registry"_s)}, {u"entries"_s, mostly(entries)}};
        const QByteArray data = QJsonDocument(object).toJson(QJsonDocument::Compact);
        return oneIn(8) ? bytes(400) : oneIn(8) ? data.first(below(int(data.size()))) : data;
    }

private Q_SLOTS:
    void init()
    {
        MachineSuite::init();
        m_random.seed(m_seed);
    }

    /// All registry entries together: applied in one random order and reverted in another, in every other round all at once.
    void anyOrder()
    {
        TweakCatalog catalog;
        QList<std::shared_ptr<RegistryTweak>> order = registryTweaks(catalog);
        for (int round = 0; round < (fullRun() ? 40 : 2); ++round) {
            m_machine.reset();
            m_machine.emplace();
            StateStore store;
            QVERIFY(store.open(Paths::stateDb()));
            TweakEngine engine(&catalog, &store);
            QString error;
            const auto revert = [&](const QString& id) {
                QVERIFY2(engine.revertTweak(id, &error, true), qPrintable(id + u": "_s + error));
            };
            std::ranges::shuffle(order, m_random);
            const MachineImage before = TestMachine::image();
            for (const auto& tweak : std::as_const(order))
                QVERIFY2(engine.applyTweak(tweak->id(), Tier::Pro, &error, false), qPrintable(error));
            const MachineImage applied = TestMachine::image();
            QCOMPARE_GE(differences(before, applied).size(), 100);
            if (round % 2 == 1) {
                engine.revertAll(true);
            } else {
                std::ranges::shuffle(order, m_random);
                for (const auto& tweak : std::as_const(order))
                    revert(tweak->id());
            }
            QCOMPARE(differences(asRestored(before, applied), TestMachine::image()).join(u'\n'), QString());
        }
    }

    void stateRows()
    {
        static const QStringList states = u"capturing,applied,reverting,reverted,gone"_s.split(u',');
        const auto sqlText = [](const QByteArray& text) {
            return u"CAST(x'%1' AS TEXT)"_s.arg(QString::fromLatin1(text.toHex()));
        };
        TweakCatalog catalog;
        repeat([&] {
            StateStore store;
            QVERIFY(store.open(Paths::stateDb()));
            QStringList rows;
            for (int i = 0; i < 8; ++i) {
                rows.append(u"(%1, 'free', %2, '%3', %4, %4, %4)"_s.arg(
                    sqlText(text(6).toUtf8()), sqlText(capture()), states.at(below(5)),
                    QString::number(qint64(m_random.generate64()))));
            }
            stateSql(u"INSERT OR REPLACE INTO tweak_state VALUES "_s + rows.join(u','));
            TweakEngine engine(&catalog, &store);
            engine.recoverInterrupted();
            std::ignore = engine.revertAboveTier(Tier::None);
            engine.revertAll(oneIn(2));
        });
    }

    /// Any value, of any type and size, under any tweak: what the registry layer can hold of it is there again afterwards.
    void valuesComeBack()
    {
        repeat([this] {
            constexpr RegistryHive hive = RegistryHive::CurrentUser;
            const QString name = u"Value"_s;
            putRaw(name, {static_cast<quint32>(below(12)), bytes(600)});
            RegistryValue before;
            QVERIFY(readValue(hive, scratchKey, name, before));
            before.number &= (quint64(1) << 53) - 1;
            if (oneIn(5))
                before = {};
            QVERIFY(writeValue(hive, scratchKey, name, before));

            QJsonObject wanted = operation(u"desired"_s);
            for (const auto& [key, value] :
                 {std::pair(u"hive"_s, u"HKCU"_s), {u"path"_s, scratchKey}, {u"name"_s, name}})
                wanted.insert(key, value);
            RegistryTweak tweak(u"random"_s, {wanted});
            bool ok = false;
            QString error;
            const QByteArray captured = QJsonDocument(tweak.capture(&ok, &error)).toJson();
            QVERIFY(ok && tweak.apply().ok == tweak.isValid());
            QVERIFY(tweak.revert(QJsonDocument::fromJson(captured).object()).ok);
            RegistryValue after;
            QVERIFY(readValue(hive, scratchKey, name, after));
            QCOMPARE(after, before);
        });
    }
};

QTEST_GUILESS_MAIN(tst_AtRandom)
#include "tst_AtRandom.moc"
