#include "account/LocalAuthService.h"
#include "account/LocalLicenseService.h"
#include "account/MachineIdentity.h"
#include "account/TierWatcher.h"
#include "core/Paths.h"
#include "platform/MachineId.h"
#include "platform/ProcessSettings.h"
#include "platform/SecretBox.h"
#include "support/LogCapture.h"
#include "support/TestMachine.h"
#include "tweaks/StateSql.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;

namespace {

QByteArray tokenBytes()
{
    QFile file(Paths::tokenFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void storeToken(const QByteArray& bytes)
{
    QFile file(Paths::tokenFile());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("The token could not be stored");
}

/// What a later start of the program finds.
QString sessionAfterRestart()
{
    LocalAuthService auth;
    const bool restored = auth.restoreSession();
    if (restored != auth.isAuthenticated())
        return u"contradiction"_s;
    const QString session = auth.userName() + u' ' + tierName(auth.sessionTier());
    return restored ? session : u"signed out"_s + session + auth.profile().identifier;
}

const QString signedOut = u"signed out none"_s;

} // namespace

class tst_Account : public QObject {
    Q_OBJECT

private:
    std::optional<test::TestMachine> m_machine;

private Q_SLOTS:
    void init() { m_machine.emplace(); }

    void firstStartAndLogout()
    {
        const QString user = platform::currentUserName();
        QVERIFY(!user.isEmpty());
        LocalAuthService auth;
        QVERIFY(auth.restoreSession());
        QVERIFY(!tokenBytes().contains("userName") && !tokenBytes().contains(user.toUtf8()));
        QCOMPARE(sessionAfterRestart(), user + u" pro"_s);
        auth.logout();
        QVERIFY(!auth.isAuthenticated());
        QCOMPARE(sessionAfterRestart(), signedOut);
        QCOMPARE(sessionAfterRestart(), signedOut);
    }

    void userNames()
    {
        const QString longest(256, u'x');
        LocalAuthService auth;
        for (const QString& name : {u"Zo\u00eb \u65e5"_s, u" Zo\u00eb \u65e5\n"_s, longest}) {
            QVERIFY(auth.login(name, Tier::Premium, nullptr));
            QCOMPARE(sessionAfterRestart(), name.trimmed() + u" premium"_s);
        }
        for (const QString& name : {QString(257, u'x'), u" \t"_s, u"a\nb"_s, u"a\0b"_s}) {
            QString error;
            QVERIFY(!auth.login(name, Tier::Pro, &error) && !error.isEmpty());
            QCOMPARE(auth.userName(), longest);
            QCOMPARE(sessionAfterRestart(), longest + u" premium"_s);
        }
    }

    void damagedTokens()
    {
        QVERIFY(LocalAuthService().login(u"Ada"_s, Tier::Pro, nullptr));
        const QByteArray token = tokenBytes();
        const QByteArray readable = R"({"version":1,"signedIn":true,"userName":"Eve","tier":"pro","startedAtMs":1})";
        QByteArrayList damaged{{}, readable, token.chopped(1), token + 'x', QByteArray(64 * 1024 + 1, 'x')};
        for (qsizetype i = 0; i < token.size(); ++i)
            damaged.append(QByteArray(token).replace(i, 1, QByteArray(1, static_cast<char>(token[i] ^ 1))));
        for (const QByteArray& plain : {"{"_ba, R"({"version":2,"signedIn":true,"userName":"Eve","tier":"pro"})"_ba,
                                        R"({"version":1,"signedIn":1,"userName":"Eve","tier":"pro"})"_ba}) {
            damaged.emplace_back();
            QVERIFY(platform::protectSecret(plain, damaged.last()));
        }
        for (const QByteArray& bytes : std::as_const(damaged)) {
            const test::LogCapture log;
            storeToken(bytes);
            QVERIFY2(sessionAfterRestart() == signedOut, bytes.toHex().constData());
            QCOMPARE(log.lines(), QStringList(u"[WARN] account: token.bin is damaged; signed out"_s));
            QCOMPARE(tokenBytes(), bytes);
        }
    }

    /// The licence follows the session, the context's tier the licence, and the applied tweaks the tier.
    void tierFollowsTheSession()
    {
        TweakCatalog catalog;
        QVERIFY(catalog.loadFromJson(R"({"tweaks": [
            {"id": "none", "requiredTier": "none", "type": "command", "apply": ["exit 0"]},
            {"id": "free", "requiredTier": "free", "type": "command", "apply": ["exit 0"]},
            {"id": "premium", "requiredTier": "premium", "type": "command", "apply": ["exit 0"]},
            {"id": "pro", "requiredTier": "pro", "type": "command", "apply": ["exit 0"]}]})"));
        StateStore store;
        QVERIFY(store.open(Paths::stateDb()));
        TweakEngine engine(&catalog, &store);
        Tier tier = Tier::None;
        LocalAuthService auth;
        LocalLicenseService license(&auth);
        TierWatcher watcher(&auth, &license, &engine, &tier);
        QStringList announced;
        connect(&watcher, &TierWatcher::tierChanged, this, [&](Tier now) {
            // By then everything above the tier is back, and the context's tier is the new one.
            announced.append(u"%1 %2 with %3"_s.arg(tierName(now), tierName(tier)).arg(engine.appliedIds().size()));
        });
        connect(&watcher, &TierWatcher::loggedOut, this, [&] { announced.append(u"logged out"_s); });
        const QStringList all{u"none"_s, u"free"_s, u"premium"_s, u"pro"_s};
        const auto login = [&](Tier now) { return auth.login(u"Ada"_s, now, nullptr); };

        QVERIFY(login(Tier::Pro) && engine.applyBatch(all, tier, nullptr, false));
        QVERIFY(login(Tier::Pro) && login(Tier::Free) && login(Tier::Premium));
        QVERIFY(engine.isApplied(u"free"_s) && !engine.isApplied(u"premium"_s));
        auth.logout();
        QCOMPARE(engine.appliedIds(), QStringList(u"none"_s));
        const auto selected = [] { return test::stateSql(u"SELECT COUNT(*) FROM tweak_selection"_s); };
        QCOMPARE(selected(), QStringList(u"4"_s));
        QVERIFY(login(Tier::Pro) && engine.applyBatch(all, tier, nullptr, false));
        Q_EMIT license.sessionEnded();
        QCOMPARE(engine.appliedIds(), QStringList());
        QCOMPARE(announced,
                 QStringList({u"pro pro with 0"_s, u"free free with 2"_s, u"premium premium with 2"_s,
                              u"none none with 1"_s, u"pro pro with 1"_s, u"none none with 0"_s, u"logged out"_s}));
        QCOMPARE(selected(), QStringList(u"4"_s));
    }

    void identityHidesItsSource()
    {
        const QString identity = machineIdentity();
        QCOMPARE(machineIdentity(), identity);
        for (const QString& group : platform::machineGuid().split(u'-'))
            QVERIFY(!QString(identity).remove(u'-').contains(group, Qt::CaseInsensitive));
    }
};

QTEST_GUILESS_MAIN(tst_Account)
#include "tst_Account.moc"
