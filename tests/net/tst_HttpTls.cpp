#include "TestAuthority.h"
#include "measure/Connectivity.h"
#include "net/ApiClient.h"
#include "net/WinHttpGet.h"
#include "platform/HttpGet.h"
#include "support/LoopbackServer.h"
#include "support/simulated/Suite.h"

#include <QSslSocket>

namespace {

bool greet(Exchange& exchange)
{
    return exchange.answer(503, "hello");
}

QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
constexpr auto oldTls = QSsl::TlsV1_1;
QT_WARNING_POP

} // namespace

class tst_HttpTls : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_authority = std::make_unique<TestAuthority>(); }

    void certificates()
    {
        const std::tuple<Identity, bool, int> cases[] = {
            {Identity(), true, 0},
            {{.protocol = QSsl::TlsV1_2}, true, 0},
            {Identity(), false, 12175}, // an authority that isn't trusted
            {{.days = -1}, true, 12175},
            {{.isSelfSigned = true}, true, 12175},
            {{.host = u"elsewhere.example"_s}, true, 12175},
            {{.protocol = oldTls}, true, 12175},
        };
        for (const auto& [identity, isTrusted, code] : cases) {
            m_machine.emplace();
            if (isTrusted)
                m_authority->trust();
            const LoopbackServer server(greet, m_authority->server(identity));
            QByteArray body;
            const HttpResult result = winHttpGet(server.url(), 5000, &body, nullptr, {}, u"test"_s);
            QCOMPARE(result.ok, code == 0);
            QCOMPARE(result.status, code == 0 ? 503 : 0);
            QCOMPARE(body, QByteArray(code == 0 ? "hello" : ""));
            QCOMPARE(m_machine->log.count(u"[WARN] test: Request failed for %1 (%2)"_s.arg(server.url()).arg(code)),
                     code == 0 ? 0 : 1);
            QCOMPARE(server.requests(), code == 0 ? 1 : 0);
        }
    }

    // The last server of those above, to see that it would have answered a client that allows that.
    void oldServerWorks()
    {
        const LoopbackServer server(greet, m_authority->server({.protocol = oldTls}));
        QSslSocket socket;
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setProtocol(oldTls);
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
        configuration.setBackendConfigurationOption("CipherString", QByteArray("DEFAULT:@SECLEVEL=0"));
        socket.setSslConfiguration(configuration);
        socket.connectToHostEncrypted(u"127.0.0.1"_s, server.port());
        QVERIFY2(socket.waitForEncrypted(5000), qPrintable(socket.errorString()));
    }

    void redirects()
    {
        m_authority->trust();
        const LoopbackServer plain(greet);
        const LoopbackServer other(greet, m_authority->server({}));
        const LoopbackServer server(
            [&](Exchange& exchange) {
                const QString target = exchange.path == "/plain" ? plain.url(u"/"_s) : other.url(u"/"_s);
                return exchange.answer(307, "moved", "Location: " + target.toLatin1() + "\r\n");
            },
            m_authority->server({}));
        const LogCapture log;
        QCOMPARE(winHttpGet(server.url(u"/secure"_s), 5000, nullptr, nullptr, {}, u"test"_s).status, 503);
        const QString url = server.url(u"/plain"_s);
        QVERIFY(!winHttpGet(url, 5000, nullptr, nullptr, {}, u"test"_s).ok);
        QCOMPARE(log.lines(), QStringList(u"[WARN] test: Request failed for %1 (12156)"_s.arg(url)));
        QCOMPARE(plain.requests(), 0);
    }

    // The token of a session stays here if the server isn't to be trusted.
    void backendAndConnectivity()
    {
        const LoopbackServer server(greet, m_authority->server({}));
        const auto ask = [&server] {
            return ApiClient(server.url()).postBlocking(u"/x"_s, {}, u"token"_s, 5000).status;
        };
        QVERIFY(!checkInternet(server.url()));
        QCOMPARE(ask(), 0);
        QCOMPARE(server.requests(), 0);
        m_authority->trust();
        QVERIFY(checkInternet(server.url()));
        QCOMPARE(ask(), 503);
        SimulatedPc::setValue(u"network/online"_s, false);
        QVERIFY(!checkInternet(server.url()));
    }

    // A server that accepts and says nothing is given up within the time for one stage, handshake included.
    void silentServer()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        QElapsedTimer clock;
        clock.start();
        const QString url = u"https://127.0.0.1:%1"_s.arg(server.serverPort());
        QVERIFY(!winHttpGet(url, 500, nullptr, nullptr, {}, u"test"_s).ok);
        QCOMPARE_GE(clock.elapsed(), 450);
        QCOMPARE_LT(clock.elapsed(), 2000);
    }

private:
    std::unique_ptr<TestAuthority> m_authority;
};

QTEST_GUILESS_MAIN(tst_HttpTls)
#include "tst_HttpTls.moc"
