#include "measure/SpeedTester.h"
#include "support/LoopbackServer.h"
#include "support/Suite.h"

#include <QSignalSpy>

namespace {

constexpr SpeedTester::Durations durations{.downloadMs = 1200, .uploadMs = 800};
constexpr int runTimeoutMs = 20000;

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
        const QSignalSpy download(&tester, &SpeedTester::downloadReady);
        const QSignalSpy ping(&tester, &SpeedTester::pingReady);
        const QSignalSpy finished(&tester, &SpeedTester::finished);
        QVERIFY(tester.start());
        QVERIFY(!tester.start());
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, runTimeoutMs);
        QCOMPARE(ping.at(0).at(2).toDouble(), 0.0);
        // 16 streams of 0.8 Mbit/s, held open at once.
        QCOMPARE(most, 16);
        const double mbps = download.at(0).at(0).toDouble();
        QVERIFY2(mbps > 9.0 && mbps < 14.0, qPrintable(QString::number(mbps)));
    }

    void streamGoesOnAfterItsEnd()
    {
        // One of the streams gets more than a reply may hold, all 90 MB, and asks for the next.
        std::atomic_int downloads = 0;
        const LoopbackServer server([&, line = endpoint(100000)](Exchange& exchange) {
            if (++downloads > 1)
                return line(exchange);
            return exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 90000000\r\n\r\n") && exchange.sendZeros(90000000);
        });
        SpeedTester tester(QUrl(server.url()), {.downloadMs = runTimeoutMs, .uploadMs = 0});
        QVERIFY(tester.start());
        QTRY_COMPARE_WITH_TIMEOUT(downloads, 17, runTimeoutMs);
    }

    void failures()
    {
        // The number of the request that is refused: one with others healthy, or nobody is there.
        for (const auto& [refusedStream, status] : {std::pair(12, 503), {0, 0}}) {
            std::atomic_int requests = 0;
            const auto serve = [&, refused = refusedStream, line = endpoint(100000)](Exchange& exchange) {
                return ++requests != refused ? line(exchange) : exchange.pause(300) && exchange.answer(503, "");
            };
            auto server = std::make_unique<LoopbackServer>(serve);
            SpeedTester tester(QUrl(server->url()), {.downloadMs = runTimeoutMs, .uploadMs = 0});
            if (refusedStream == 0)
                server.reset();
            const QSignalSpy failed(&tester, &SpeedTester::failed);
            QVERIFY(tester.start());
            QTRY_COMPARE_WITH_TIMEOUT(failed.size(), 1, runTimeoutMs);
            const QString error = failed.at(0).at(0).toString();
            QVERIFY2(error.startsWith(u"Download failed (HTTP %1, "_s.arg(status)), qPrintable(error));
            QVERIFY(tester.start());
        }
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
            const QSignalSpy progress(&inADownload, &SpeedTester::downloadProgress);
            QVERIFY(inADownload.start());
            QTRY_VERIFY(!progress.isEmpty());
        }
        QTest::qWait(50);
    }
};

QTEST_GUILESS_MAIN(tst_SpeedTester)
#include "tst_SpeedTester.moc"
