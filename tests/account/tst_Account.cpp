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
#include <QRegularExpression>
#include <QSignalSpy>
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
    std::optional<test::LogCapture> m_log;

private Q_SLOTS:
    void init()
    {
        m_machine.emplace();
        m_log.emplace();
    }

    void firstStart()
    {
        const QString user = platform::currentUserName();
        QVERIFY(!user.isEmpty());
        LocalAuthService auth;
        const QSignalSpy changes(&auth, &AuthService::sessionChanged);
        QVERIFY(auth.restoreSession());
        QCOMPARE(changes.count(), 1);
        QCOMPARE(auth.profile().userName, user);
        QCOMPARE(auth.sessionTier(), Tier::Pro);
        QVERIFY(!tokenBytes().contains("userName") && !tokenBytes().contains(user.toUtf8()));
        QCOMPARE(sessionAfterRestart(), user + u" pro"_s);
        QCOMPARE(m_log->lines(), QStringList(u"[INFO] account: First start: local session for "_s + user));
    }

    void logoutLasts()
    {
        LocalAuthService auth;
        QVERIFY(auth.restoreSession());
        auth.logout();
        QVERIFY(!auth.isAuthenticated() && auth.userName().isEmpty());
        QCOMPARE(sessionAfterRestart(), signedOut);
        QCOMPARE(sessionAfterRestart(), signedOut);
        QVERIFY(auth.login(u"Ada"_s, Tier::Free, nullptr));
        QCOMPARE(sessionAfterRestart(), u"Ada free"_s);
    }

    void logins_data()
    {
        QTest::addColumn<QString>("userName");
        QTest::addColumn<Tier>("tier");
        QTest::addColumn<QString>("session");
        QTest::newRow("pro") << u"Ada"_s << Tier::Pro << u"Ada pro"_s;
        QTest::newRow("premium") << u"Ada"_s << Tier::Premium << u"Ada premium"_s;
        QTest::newRow("no tier, accents") << u"Zo\u00eb \u65e5"_s << Tier::None << u"Zo\u00eb \u65e5 none"_s;
        QTest::newRow("trimmed") << u" Ada \n"_s << Tier::Free << u"Ada free"_s;
        QTest::newRow("longest") << QString(256, u'x') << Tier::Free << QString(QString(256, u'x') + u" free"_s);
        QTest::newRow("too long") << QString(257, u'x') << Tier::Pro << QString();
        QTest::newRow("blank") << u" \t"_s << Tier::Pro << QString();
        QTest::newRow("line break inside") << u"a\nb"_s << Tier::Pro << QString();
        QTest::newRow("NUL inside") << u"a\0b"_s << Tier::Pro << QString();
    }

    void logins()
    {
        QFETCH(QString, userName);
        QFETCH(Tier, tier);
        QFETCH(QString, session);
        LocalAuthService auth;
        QVERIFY(auth.login(u"before"_s, Tier::Free, nullptr));
        QString error;
        QCOMPARE(auth.login(userName, tier, &error), !session.isEmpty());
        QCOMPARE(error.isEmpty(), !session.isEmpty());
        QCOMPARE(sessionAfterRestart(), session.isEmpty() ? u"before free"_s : session);
        QCOMPARE(auth.userName() + u' ' + tierName(auth.sessionTier()), sessionAfterRestart());
    }

    void damagedTokens_data()
    {
        QTest::addColumn<std::function<QByteArray(const QByteArray&)>>("damage");
        using Bytes = QByteArray;
        const auto row = [](const char* title, std::function<Bytes(const Bytes&)> damage) {
            QTest::newRow(title) << std::move(damage);
        };
        const auto plain = [](const Bytes& json) {
            return [json](const Bytes&) {
                Bytes cipher;
                return platform::protectSecret(json, cipher) ? cipher : Bytes("failed");
            };
        };
        row("empty", [](const Bytes&) { return Bytes(); });
        row("not enciphered", [](const Bytes&) {
            return Bytes(R"({"version":1,"signedIn":true,"userName":"Eve","tier":"pro","startedAtMs":1})");
        });
        row("cut short", [](const Bytes& token) { return token.chopped(1); });
        row("one bit", [](Bytes token) {
            token[token.size() / 2] = static_cast<char>(token[token.size() / 2] ^ 1);
            return token;
        });
        row("oversized", [](const Bytes&) { return Bytes(64 * 1024 + 1, 'x'); });
        row("no JSON", plain("{"));
        row("other version", plain(R"({"version":2,"signedIn":true,"userName":"Eve","tier":"pro"})"));
        row("no answer whether signed in", plain(R"({"version":1,"signedIn":1,"userName":"Eve","tier":"pro"})"));
    }

    void damagedTokens()
    {
        QFETCH(std::function<QByteArray(const QByteArray&)>, damage);
        QVERIFY(LocalAuthService().login(u"Ada"_s, Tier::Pro, nullptr));
        const QByteArray damaged = damage(tokenBytes());
        storeToken(damaged);
        QCOMPARE(sessionAfterRestart(), signedOut);
        QCOMPARE(m_log->lines(), QStringList(u"[WARN] account: token.bin is damaged; signed out"_s));
        QCOMPARE(tokenBytes(), damaged);
    }

    /// The licence follows the session, the context's tier the licence, and the applied tweaks the tier.
    void tierFollowsTheSession()
    {
        TweakCatalog catalog;
        QByteArrayList entries;
        for (const QByteArray tier : {"none", "free", "premium", "pro"}) {
            entries.append("{\"id\": \"" + tier + "\", \"requiredTier\": \"" + tier
                           + "\", \"type\": \"command\", \"apply\": [\"exit 0\"]}");
        }
        QVERIFY(catalog.loadFromJson("{\"tweaks\": [" + entries.join(',') + "]}"));
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
        QCOMPARE(m_log->lines().filter(u"account"_s),
                 QStringList({u"[INFO] account: Tier fell from pro to free"_s,
                              u"[INFO] account: Tier fell from premium to none"_s,
                              u"[INFO] account: Tier fell from pro to none"_s}));

        QCOMPARE(selected(), QStringList(u"4"_s));
    }

    void identityHidesItsSource()
    {
        static const QRegularExpression format(u"\\A[0-9A-F]{8}(-[0-9A-F]{8}){3}\\z"_s);
        const QString identity = machineIdentity();
        QVERIFY2(format.match(identity).hasMatch(), qPrintable(identity));
        QCOMPARE(machineIdentity(), identity);
        const QString digits = QString(identity).remove(u'-');
        for (const QString& group : platform::machineGuid().split(u'-'))
            QVERIFY(!digits.contains(group, Qt::CaseInsensitive));
    }
};

QTEST_GUILESS_MAIN(tst_Account)
#include "tst_Account.moc"
