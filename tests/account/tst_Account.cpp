#include "account/LocalAuthService.h"
#include "account/LocalLicenseService.h"
#include "account/MachineIdentity.h"
#include "account/TierWatcher.h"
#include "platform/Elevation.h"
#include "platform/SecretBox.h"
#include "support/Suite.h"
#include "tweaks/StateSql.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

namespace {

QByteArray tokenBytes()
{
    QFile file(Paths::tokenFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The session that a later start of the program finds.
QString sessionAfterRestart()
{
    LocalAuthService auth;
    const bool restored = auth.restoreSession();
    return (restored ? QString() : u"signed out"_s) + auth.userName() + u' ' + tierName(auth.sessionTier());
}

const QString signedOut = u"signed out none"_s;

} // namespace

class tst_Account : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void firstStartAndLogout()
    {
        const QString user = platform::currentUserName();
        LocalAuthService auth;
        QVERIFY(auth.restoreSession());
        QVERIFY(!tokenBytes().contains("userName") && !tokenBytes().contains(user.toUtf8()));
        QCOMPARE(sessionAfterRestart(), user + u" pro"_s);
        auth.logout();
        QCOMPARE(sessionAfterRestart(), signedOut);
    }

    void userNames()
    {
        LocalAuthService auth;
        QVERIFY(auth.login(u" Zo\u00eb \u65e5\n"_s, Tier::Premium, nullptr));
        for (const QString& name : {QString(257, u'x'), u" \t"_s, u"a\nb"_s, u"a\0b"_s}) {
            QVERIFY(!auth.login(name, Tier::Pro, nullptr));
            QCOMPARE(sessionAfterRestart(), u"Zo\u00eb \u65e5 premium"_s);
        }
        QVERIFY(auth.login(QString(256, u'x'), Tier::Premium, nullptr));
    }

    void damagedTokens()
    {
        QVERIFY(LocalAuthService().login(u"Ada"_s, Tier::Pro, nullptr));
        const QByteArray token = tokenBytes();
        const QByteArray readable = R"({"version":1,"signedIn":true,"userName":"Eve","tier":"pro","startedAtMs":1})";
        QByteArrayList damaged{{}, readable, token.chopped(1), token + 'x'};
        for (qsizetype i = 0; i < token.size(); ++i)
            damaged.append(QByteArray(token).replace(i, 1, QByteArray(1, static_cast<char>(token[i] ^ 1))));
        for (const QByteArray& plain : {"{"_ba, QByteArray(readable).replace("\"version\":1", "\"version\":2")}) {
            damaged.emplace_back();
            QVERIFY(platform::protectSecret(plain, damaged.last()));
        }
        for (const QByteArray& bytes : std::as_const(damaged)) {
            const test::LogCapture log;
            QFile file(Paths::tokenFile());
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
            file.close();
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
        connect(&watcher, &TierWatcher::aboutToRevert, this,
                [&] { announced.append(u"%1 to go"_s.arg(engine.appliedIds().size())); });
        connect(&watcher, &TierWatcher::loggedOut, this, [&] { announced.append(u"logged out"_s); });
        const auto loginAs = [&](Tier now) { return auth.login(u"Ada"_s, now, nullptr); };
        const auto applyAll = [&] {
            return loginAs(Tier::Pro) && engine.applyBatch({u"free"_s, u"premium"_s, u"pro"_s}, tier, nullptr, false);
        };

        QVERIFY(applyAll());
        QVERIFY(loginAs(Tier::Pro) && loginAs(Tier::Free) && loginAs(Tier::Premium));
        auth.logout();
        QVERIFY(applyAll());
        Q_EMIT license.sessionEnded();
        QCOMPARE(announced,
                 QStringList({u"pro pro with 0"_s, u"3 to go"_s, u"free free with 1"_s, u"premium premium with 1"_s,
                              u"1 to go"_s, u"none none with 0"_s, u"pro pro with 0"_s, u"3 to go"_s, u"0 to go"_s,
                              u"none none with 0"_s, u"logged out"_s}));
        QCOMPARE(test::stateSql(u"SELECT COUNT(*) FROM tweak_selection"_s), QStringList(u"3"_s));

        // A revert that can't be tried now is tried again when the licence next answers.
        QVERIFY(applyAll());
        store.close();
        QVERIFY(loginAs(Tier::Free));
        QVERIFY(store.open(Paths::stateDb()));
        QCOMPARE(engine.appliedIds().size(), 3);
        license.refresh();
        QCOMPARE(engine.appliedIds(), QStringList(u"free"_s));
        announced.clear();
        license.refresh();
        QCOMPARE(announced, QStringList());
    }

    void identityHidesItsSource()
    {
        const QString identity = machineIdentity();
        QCOMPARE(machineIdentity(), identity);
        const RegistryValue guid = machineValue(u"SOFTWARE\\Microsoft\\Cryptography"_s, u"MachineGuid"_s);
        for (const QString& group : guid.text.split(u'-'))
            QVERIFY(!QString(identity).remove(u'-').contains(group, Qt::CaseInsensitive));
    }
};

QTEST_GUILESS_MAIN(tst_Account)
#include "tst_Account.moc"
