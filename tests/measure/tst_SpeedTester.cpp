#include "measure/SpeedTester.h"
#include "support/LoopbackServer.h"
#include "support/Suite.h"

#include <QSignalSpy>
#include <QThread>

namespace {

constexpr SpeedTester::Durations durations{.downloadMs = 1200, .uploadMs = 800};
constexpr int runTimeoutMs = 20000;

/// What a run says, in its order; a progress only when it is the first of a row.
class Listener : public QObject {
public:
    explicit Listener(SpeedTester& tester)
    {
        connect(&tester, &SpeedTester::phaseChanged, this, [this](const QString& phase) { add(phase); });
        connect(&tester, &SpeedTester::pingReady, this, [this](double averageMs, double jitterMs, double lossPct) {
            add(u"ping"_s);
            ping = {averageMs, jitterMs, lossPct};
        });
        connect(&tester, &SpeedTester::downloadProgress, this, [this] { add(u"down..."_s); });
        connect(&tester, &SpeedTester::uploadProgress, this, [this] { add(u"up..."_s); });
        connect(&tester, &SpeedTester::downloadReady, this, [this](double mbps) {
            add(u"down"_s);
            download = mbps;
        });
        connect(&tester, &SpeedTester::uploadReady, this, [this](double mbps) {
            add(u"up"_s);
            upload = mbps;
        });
        connect(&tester, &SpeedTester::finished, this, [this] { add(u"finished"_s); });
        connect(&tester, &SpeedTester::failed, this, [this](const QString& error) { add(u"failed: "_s + error); });
    }

    QStringList events;
    PingStats ping;
    double download = -1.0;
    double upload = -1.0;

private:
    void add(const QString& event)
    {
        if (events.isEmpty() || events.constLast() != event)
            events.append(event);
    }
};

/// A line with this rate for each stream, in bytes a second; the ping's connections end without a request.
LoopbackServer::Handler endpoint(int bytesPerSecond)
{
    return [bytesPerSecond](Exchange& exchange) {
        if (exchange.path == "/__up")
            return exchange.answer(200, "");
        if (exchange.path != "/__down?bytes=90000000")
            return exchange.answer(400, "");
        bool goesOn = exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 90000000\r\n\r\n");
        while (goesOn)
            goesOn = exchange.sendZeros(bytesPerSecond / 20) && exchange.pause(50);
        return false;
    };
}

} // namespace

class tst_SpeedTester : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void run()
    {
        std::atomic_int atOnce = 0;
        std::atomic_int most = 0;
        const LoopbackServer server([&, line = endpoint(100000)](Exchange& exchange) {
            most = std::max(most.load(), ++atOnce);
            const bool goesOn = line(exchange);
            --atOnce;
            return goesOn;
        });
        SpeedTester tester(QUrl(server.url()), durations);
        Listener listener(tester);
        const LogCapture log;
        QVERIFY(tester.start());
        QVERIFY(!tester.start());
        QTRY_VERIFY_WITH_TIMEOUT(!tester.isRunning(), runTimeoutMs);
        QCOMPARE(listener.events,
                 QStringList({u"Ping"_s, u"ping"_s, u"Download"_s, u"down..."_s, u"down"_s, u"Upload"_s, u"up..."_s,
                              u"up"_s, u"finished"_s}));
        QCOMPARE(listener.ping.lossPct, 0.0);
        QVERIFY(listener.ping.avgMs > 0.0);
        QVERIFY(listener.ping.avgMs < 100.0);
        // 16 streams of 0.8 Mbit/s, held open at once.
        QCOMPARE(most, 16);
        QVERIFY2(listener.download > 9.0, qPrintable(QString::number(listener.download)));
        QVERIFY2(listener.download < 14.0, qPrintable(QString::number(listener.download)));
        QVERIFY(listener.upload > 1.0);
        QCOMPARE(log.lines().size(), 2);
        QVERIFY(log.lines()[0].startsWith(u"[INFO] speedtest: download: "_s));
        QVERIFY(log.lines()[1].startsWith(u"[INFO] speedtest: upload: "_s));
        QVERIFY(log.lines()[1].endsWith(u"err=''"_s));
        QVERIFY(tester.start());
    }

    void failures()
    {
        // The number of the request that is refused: the first, one with others healthy, or nobody is there.
        for (const auto& [refusedStream, status] : {std::pair(1, 403), {12, 503}, {0, 0}}) {
            std::atomic_int requests = 0;
            const auto serve = [&, refused = refusedStream, code = status,
                                line = endpoint(100000)](Exchange& exchange) {
                if (++requests != refused)
                    return line(exchange);
                return exchange.pause(refused > 1 ? 300 : 0) && exchange.answer(code, "");
            };
            auto server = std::make_unique<LoopbackServer>(serve);
            SpeedTester tester(QUrl(server->url()), durations);
            if (refusedStream == 0)
                server.reset();
            Listener listener(tester);
            QVERIFY(tester.start());
            QTRY_VERIFY_WITH_TIMEOUT(!tester.isRunning(), runTimeoutMs);
            const QString last = listener.events.constLast();
            QVERIFY2(last.startsWith(u"failed: Download failed (HTTP %1, "_s.arg(status)), qPrintable(last));
            QVERIFY(!listener.events.contains(u"Upload"_s));
            QCOMPARE(listener.ping.lossPct, refusedStream == 0 ? 100.0 : 0.0);
            QVERIFY(tester.start());
        }
    }

    // A request that ends is replaced, so that short answers count as well as long ones.
    void shortAnswers()
    {
        const LoopbackServer server(
            [](Exchange& exchange) { return exchange.pause(20) && exchange.answer(200, QByteArray(10000, 'x')); });
        SpeedTester tester(QUrl(server.url()), {.downloadMs = 1000, .uploadMs = 100});
        Listener listener(tester);
        QVERIFY(tester.start());
        QTRY_VERIFY_WITH_TIMEOUT(!tester.isRunning(), runTimeoutMs);
        QCOMPARE(listener.events.constLast(), u"finished"_s);
        QVERIFY(server.requests() > 100);
    }

    void goesAway()
    {
        const LoopbackServer server(endpoint(100000));
        QElapsedTimer clock;
        {
            SpeedTester inThePing(QUrl(server.url()), durations);
            QVERIFY(inThePing.start());
            QTRY_VERIFY(server.connections() > 0);
            clock.start();
        }
        QCOMPARE_LT(clock.elapsed(), 200);
        {
            SpeedTester inADownload(QUrl(server.url()), durations);
            Listener listener(inADownload);
            QVERIFY(inADownload.start());
            QTRY_VERIFY(listener.events.contains(u"down..."_s));
        }
        QTest::qWait(50);
    }
};

QTEST_GUILESS_MAIN(tst_SpeedTester)
#include "tst_SpeedTester.moc"
