#include "account/TokenFile.h"
#include "core/AppConfig.h"
#include "core/Paths.h"
#include "platform/SecretBox.h"
#include "registry/RegistryAccess.h"
#include "registry/RegistryJson.h"
#include "support/TestMachine.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/RestoredImage.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <span>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

/// The only place of the machine that random captures name in full.
const QString randomPath = u"Software\\Torvelane\\Random"_s;

/// The next test has this machine as well, where it isn't a simulated one.
void removeValues(const QString& path)
{
    using platform::RegistryKey;
    RegistryKey key;
    QStringList values;
    QStringList subkeys;
    if (RegistryKey::open(platform::RootKey::CurrentUser, path, platform::RegistryAccess::Read, key)
        != platform::codeSuccess)
        return;
    QCOMPARE(key.valueNames(values), platform::codeSuccess);
    QCOMPARE(key.subkeyNames(subkeys), platform::codeSuccess);
    QCOMPARE(RegistryKey::open(platform::RootKey::CurrentUser, path, platform::RegistryAccess::SetValue, key),
             platform::codeSuccess);
    for (const QString& value : std::as_const(values))
        QCOMPARE(key.deleteValue(value), platform::codeSuccess);
    for (const QString& subkey : std::as_const(subkeys))
        removeValues(path + u'\\' + subkey);
}

/// Also on a machine that is busy with other things.
constexpr int minRounds = 20;

} // namespace

/// Whatever is found in files that others can write: no crash, and no touch of anything but what was named. A run is
/// repeated by TORVELANE_RANDOM_SEED, and lengthened by TORVELANE_RANDOM_SECONDS.
class tst_RandomInput : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void catalogues();
    void captures();
    void stateRows();
    void configurations();
    void tokens();
    void valuesComeBack();

private:
    void repeat(const std::function<void()>& once);
    void expectNothingElseChanged(const MachineImage& before);

    int below(int limit) { return static_cast<int>(m_random.bounded(limit)); }
    bool oneIn(int n) { return below(n) == 0; }
    QByteArray bytes(int limit);
    QString text(int limit);
    QJsonValue json(int depth = 0);
    QJsonValue mostly(const QJsonValue& right) { return oneIn(6) ? json() : right; }
    QByteArray document(const QJsonObject& object);
    QJsonObject operation(const QString& contentKey);
    QJsonObject capture();

    QRandomGenerator m_random;
    quint32 m_seed = 0;
    int m_milliseconds = 0;
    std::unique_ptr<TestMachine> m_machine;
};

void tst_RandomInput::initTestCase()
{
    bool given = false;
    m_seed = qEnvironmentVariable("TORVELANE_RANDOM_SEED").toUInt(&given);
    if (!given)
        m_seed = QRandomGenerator::system()->generate();
    m_milliseconds = 1000 * qEnvironmentVariable("TORVELANE_RANDOM_SECONDS", fullRun() ? u"60"_s : u"5"_s).toInt() / 6;
    qInfo("TORVELANE_RANDOM_SEED=%u", m_seed);
}

void tst_RandomInput::init()
{
    m_machine = std::make_unique<TestMachine>();
    m_random.seed(m_seed);
}

void tst_RandomInput::cleanup()
{
    removeValues(randomPath);
    m_machine.reset();
}

void tst_RandomInput::repeat(const std::function<void()>& once)
{
    int rounds = 0;
    const QDeadlineTimer end(m_milliseconds);
    for (; (!end.hasExpired() || rounds < minRounds) && !QTest::currentTestFailed(); ++rounds)
        once();
    qInfo("%d inputs", rounds);
}

void tst_RandomInput::expectNothingElseChanged(const MachineImage& before)
{
    for (const QString& line : differences(before, TestMachine::image()))
        QVERIFY2(line.mid(2).startsWith(u"HKCU\\"_s + randomPath, Qt::CaseInsensitive), qPrintable(line));
}

QByteArray tst_RandomInput::bytes(int limit)
{
    QByteArray data(below(limit), Qt::Uninitialized);
    std::ranges::generate(data, [this] { return static_cast<char>(below(256)); });
    return data;
}

QString tst_RandomInput::text(int limit)
{
    static const QString telling = u"\\\\//%\"'[]{}<>.*?\0\n\r\t éÉßİ漢\u202e\xd800\xdc00\xffff"_s;
    QString string(below(oneIn(50) ? 70000 : limit), Qt::Uninitialized);
    std::ranges::generate(
        string, [this] { return oneIn(2) ? telling.at(below(int(telling.size()))) : QChar('a' + below(26)); });
    return string;
}

QJsonValue tst_RandomInput::json(int depth)
{
    static const QList<double> numbers{0,
                                       -1,
                                       1,
                                       4294967295.0,
                                       4294967296.0,
                                       9007199254740992.0,
                                       9223372036854775808.0,
                                       18446744073709551616.0,
                                       -9223372036854775809.0,
                                       1e308,
                                       0.5,
                                       5e-324};
    switch (below(depth < 4 ? 8 : 5)) {
    case 0:
        return QJsonValue::Null;
    case 1:
        return oneIn(2);
    case 2:
        return numbers.at(below(int(numbers.size())));
    case 3:
        return static_cast<double>(m_random.generate64());
    case 4:
    case 5:
        return text(12);
    case 6: {
        QJsonArray array;
        for (int i = below(4); i > 0; --i)
            array.append(json(depth + 1));
        return array;
    }
    default: {
        QJsonObject object;
        for (int i = below(4); i > 0; --i)
            object.insert(text(8), json(depth + 1));
        return object;
    }
    }
}

/// Mostly well-formed; sometimes damaged, cut, or no JSON at all.
QByteArray tst_RandomInput::document(const QJsonObject& object)
{
    QByteArray data = QJsonDocument(object).toJson(QJsonDocument::Compact);
    if (oneIn(8))
        return bytes(400);
    if (oneIn(4))
        data.truncate(below(int(data.size()) + 1));
    for (int i = oneIn(4) ? below(10) : 0; i > 0 && !data.isEmpty(); --i)
        data[below(int(data.size()))] = static_cast<char>(below(256));
    return data;
}

QJsonObject tst_RandomInput::operation(const QString& contentKey)
{
    static const QStringList kinds{u"none"_s,       u"dword"_s,  u"QWORD"_s, u"sz"_s,
                                   u" expandsz "_s, u"binary"_s, u"multi"_s};
    const QJsonValue other = json();
    const QString path = randomPath % (oneIn(2) ? QString() : u'\\' + text(20));
    const QJsonValue content = oneIn(2) ? json() : QString::fromLatin1(bytes(40).toHex());
    return {{u"hive"_s, mostly(u"HKCU"_s)},
            {u"path"_s, oneIn(6) && !other.isString() ? other : path},
            {u"name"_s, mostly(text(20))},
            {u"exists"_s, mostly(true)},
            {u"valueType"_s, mostly(kinds.at(below(int(kinds.size()))))},
            {u"number"_s, json()},
            {u"text"_s, mostly(text(300))},
            {contentKey, content}};
}

QJsonObject tst_RandomInput::capture()
{
    QJsonArray entries;
    for (int i = below(5); i > 0; --i)
        entries.append(mostly(operation(u"binary"_s)));
    return {{u"type"_s, mostly(u"registry"_s)}, {u"entries"_s, mostly(entries)}};
}

void tst_RandomInput::catalogues()
{
    repeat([this] {
        QJsonArray entries;
        for (int i = below(6); i > 0; --i) {
            const QJsonArray operations{mostly(operation(u"desired"_s)), mostly(operation(u"desired"_s))};
            entries.append(mostly(QJsonObject{{u"id"_s, mostly(text(6))},
                                              {u"name"_s, json()},
                                              {u"requiredTier"_s, mostly(u"pro"_s)},
                                              {u"type"_s, mostly(oneIn(4) ? u"command"_s : u"registry"_s)},
                                              {u"apply"_s, QJsonArray{json()}},
                                              {u"operations"_s, mostly(operations)}}));
        }
        TweakCatalog catalog;
        std::ignore = catalog.loadFromJson(document({{u"tweaks"_s, mostly(entries)}}));
        const QList<TweakDefinition> definitions = catalog.definitions();
        for (const TweakDefinition& definition : definitions) {
            QVERIFY(!definition.id.isEmpty());
            const auto tweak = catalog.implementation(definition.id);
            QVERIFY(tweak);
            bool ok = false;
            QString error;
            const QJsonObject captured = tweak->capture(&ok, &error);
            QVERIFY(ok != captured.isEmpty());
        }
    });
}

void tst_RandomInput::captures()
{
    const MachineImage before = TestMachine::image();
    repeat([this] { std::ignore = RegistryTweak::revertCapture(capture(), nullptr); });
    expectNothingElseChanged(before);
}

void tst_RandomInput::stateRows()
{
    static const QStringList states{u"capturing"_s, u"applied"_s, u"reverting"_s, u"reverted"_s};
    const MachineImage before = TestMachine::image();
    TweakCatalog catalog;
    repeat([&] {
        StateStore store;
        QVERIFY(store.open(Paths::stateDb()));
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"rows"_s);
            database.setDatabaseName(Paths::stateDb());
            QVERIFY(database.open());
            database.transaction();
            QSqlQuery insert(database);
            insert.prepare(u"INSERT OR REPLACE INTO tweak_state VALUES (?, ?, ?, ?, ?, ?)"_s);
            for (int i = 0; i < 8; ++i) {
                const QByteArray row = document(capture());
                insert.bindValue(0, text(6));
                insert.bindValue(1, mostly(u"free"_s).toVariant().toString());
                insert.bindValue(2, oneIn(4) ? QVariant(row) : QVariant(QString::fromUtf8(row)));
                insert.bindValue(3, mostly(states.at(below(4))).toVariant().toString());
                insert.bindValue(4, json().toVariant().toString());
                insert.bindValue(5, static_cast<qint64>(m_random.generate64()));
                std::ignore = insert.exec();
            }
            QVERIFY(database.commit());
        }
        QSqlDatabase::removeDatabase(u"rows"_s);
        TweakEngine engine(&catalog, &store);
        engine.recoverInterrupted();
        engine.revertAboveTier(Tier::None);
        engine.revertAll(oneIn(2));
    });
    expectNothingElseChanged(before);
}

void tst_RandomInput::configurations()
{
    repeat([this] {
        QFile file(Paths::configFile());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(document({{u"apiBaseUrl"_s, mostly(text(20))},
                             {u"autoStart"_s, mostly(true)},
                             {u"heartbeatIntervalMs"_s, json()},
                             {u"lastEmail"_s, mostly(text(20))}}));
        file.close();
        AppConfig loaded;
        loaded.load();
        QVERIFY(loaded.save());
        AppConfig again;
        again.load();
        QCOMPARE(again.autoStart, loaded.autoStart);
        QCOMPARE(again.heartbeatIntervalMs, loaded.heartbeatIntervalMs);
        QCOMPARE(again.apiBaseUrl.isEmpty(), loaded.apiBaseUrl.isEmpty());
    });
}

void tst_RandomInput::tokens()
{
    repeat([this] {
        const QByteArray plain = document({{u"version"_s, mostly(1)},
                                           {u"signedIn"_s, mostly(true)},
                                           {u"userName"_s, mostly(text(20))},
                                           {u"tier"_s, mostly(u"pro"_s)},
                                           {u"startedAtMs"_s, json()}});
        QByteArray cipher;
        QVERIFY(platform::protectSecret(plain, cipher));
        const auto readFrom = [](const QByteArray& content, TokenFile::Session& session) {
            QFile file(Paths::tokenFile());
            return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush()
                ? TokenFile::read(session)
                : TokenFile::ReadResult::Absent;
        };
        TokenFile::Session session;
        const TokenFile::ReadResult result = readFrom(cipher, session);
        QCOMPARE_NE(result, TokenFile::ReadResult::Absent);
        if (result == TokenFile::ReadResult::Damaged)
            QVERIFY(!session.signedIn && session.tier == Tier::None);
        QVERIFY(session.tier >= Tier::None && session.tier <= Tier::Pro);

        // Not every byte has to be protected, but none may make another session.
        cipher[below(int(cipher.size()))] ^= static_cast<char>(1 + below(255));
        TokenFile::Session other;
        if (readFrom(cipher, other) == TokenFile::ReadResult::Read) {
            QCOMPARE(result, TokenFile::ReadResult::Read);
            QVERIFY(other.signedIn == session.signedIn && other.userName == session.userName
                    && other.tier == session.tier);
        }
    });
}

/// Any value, of any type and size, under any tweak: what the registry layer can hold of it is there again afterwards.
void tst_RandomInput::valuesComeBack()
{
    repeat([this] {
        platform::RegistryKey key;
        QCOMPARE(platform::RegistryKey::create(platform::RootKey::CurrentUser, randomPath, key), platform::codeSuccess);
        const QByteArray data = bytes(600);
        const QString name = u"Value"_s;
        const auto type = static_cast<quint32>(below(12));
        QCOMPARE(key.setValue(name, type, std::as_bytes(std::span(data.constData(), std::size_t(data.size())))),
                 platform::codeSuccess);
        if (oneIn(5))
            QCOMPARE(key.deleteValue(name), platform::codeSuccess);

        RegistryValue before;
        QVERIFY(readValue(RegistryHive::CurrentUser, randomPath, name, before));
        before.number &= (quint64(1) << 53) - 1;
        QVERIFY(writeValue(RegistryHive::CurrentUser, randomPath, name, before));
        QCOMPARE(valueFromJson(valueToJson(RegistryHive::CurrentUser, randomPath, name, before)), before);

        QJsonObject wanted = operation(u"desired"_s);
        wanted.insert(u"path"_s, randomPath);
        wanted.insert(u"name"_s, name);
        RegistryTweak tweak(u"random"_s, {wanted});
        bool ok = false;
        QString error;
        const QJsonObject captured = tweak.capture(&ok, &error);
        if (tweak.isValid() && tweak.operations().constFirst().hive == RegistryHive::CurrentUser) {
            QVERIFY(ok && tweak.apply().ok);
            QVERIFY(tweak.revert(captured).ok);
        }
        RegistryValue after;
        QVERIFY(readValue(RegistryHive::CurrentUser, randomPath, name, after));
        QCOMPARE(after, before);
    });
}

QTEST_GUILESS_MAIN(tst_RandomInput)

#include "tst_RandomInput.moc"
