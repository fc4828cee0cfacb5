#include "net/ApiClient.h"
#include "net/ApiWorker.h"
#include "support/LoopbackServer.h"
#include "support/Suite.h"

namespace {

const QString ownThreadOption = u"--post-on-the-workers-thread"_s;

/// "/echo" answers with what was sent, "/<status>" with that status and a body of its kind.
bool serve(Exchange& exchange)
{
    const QByteArray path = exchange.path;
    if (path == "/echo")
        return exchange.answer(200, exchange.body);
    if (path == "/silent")
        return exchange.pause(60000);
    if (path == "/page")
        return exchange.answer(404, "<html>no</html>");
    if (path == "/away")
        return exchange.answer(302, "{}", "Location: /echo\r\n");
    if (path == "/500")
        return exchange.answer(500, R"({"reason": "broken"})");
    if (path == "/huge")
        return exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 3000000000\r\n\r\n{")
            && exchange.sendZeros(3000000000);
    return false; // closes without an answer
}

} // namespace

class tst_ApiClient : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void answers()
    {
        const LoopbackServer server(serve);
        ApiClient client(server.url());
        int requests = 0;
        for (const auto& [path, status, json] : {std::tuple(u"/echo"_s, 200, QJsonObject{{u"a"_s, 1}}),
                                                 {u"/page"_s, 404, QJsonObject()},
                                                 {u"/500"_s, 500, QJsonObject{{u"reason"_s, u"broken"_s}}},
                                                 {u"/away"_s, 302, QJsonObject()},
                                                 {u"/huge"_s, 200, QJsonObject()}}) {
            const ApiResponse response = client.postBlocking(path, {{u"a"_s, 1}}, {}, 10000);
            QCOMPARE(response.status, status);
            QCOMPARE(response.json, json);
            QCOMPARE(response.error, QString());
            QCOMPARE(server.requests(), ++requests);
        }
        QElapsedTimer clock;
        clock.start();
        const ApiResponse late = client.postBlocking(u"/silent"_s, {}, {}, 600);
        QCOMPARE_LT(clock.elapsed(), 1500);
        QCOMPARE(late.status, 0);
        QCOMPARE(late.error, u"Request timed out"_s);
    }

    /// Three times, with pauses; a client that goes in one of them doesn't wait for its end.
    void attempts()
    {
        const LogCapture log;
        int called = 0;
        QElapsedTimer clock;
        clock.start();
        {
            ApiClient client(u"http://127.0.0.1:%1"_s.arg(freePort()));
            client.postAsync(u"/x"_s, {}, {}, this,
                             [&called](const ApiResponse& answer) { called += 1 + answer.status; });
            QTRY_COMPARE_WITH_TIMEOUT(called, 1, 10000);
            QCOMPARE_GE(clock.elapsed(), 1600);
            QCOMPARE(log.lines().size(), 3);
            client.postAsync(u"/x"_s, {}, {}, this, [&called](const ApiResponse&) { ++called; });
            QTRY_COMPARE(log.lines().size(), 4);
            clock.start();
        }
        QCOMPARE_LT(clock.elapsed(), 500);
        QCOMPARE(called, 1);
    }

    void owners()
    {
        const LoopbackServer server(serve);
        ApiClient client(server.url());
        auto gone = std::make_unique<QObject>();
        QObject here;
        QString called;
        client.postAsync(u"/echo"_s, {}, {}, gone.get(), [&called](const ApiResponse&) { called += u'g'; });
        client.postAsync(u"/echo"_s, {}, {}, nullptr, [&called](const ApiResponse&) { called += u'n'; });
        gone.reset();
        QTRY_COMPARE(server.requests(), 2);
        client.postAsync(u"/echo"_s, {}, {}, &here, [&](const ApiResponse&) {
            if (QThread::currentThread() == here.thread())
                called += u'h';
        });
        QTRY_COMPARE(called, u"h"_s);
        QTest::qWait(50);
        QCOMPARE(called, u"h"_s);
    }

    void endsInFlight()
    {
        const LoopbackServer server(serve);
        int called = 0;
        QElapsedTimer clock;
        {
            ApiClient client(server.url());
            for (int i = 0; i < 20; ++i)
                client.postAsync(u"/silent"_s, {}, {}, this, [&called](const ApiResponse&) { ++called; });
            QTRY_VERIFY(server.requests() > 0);
            clock.start();
        }
        QCOMPARE_LT(clock.elapsed(), 2000);
        QCOMPARE(called, 0);
    }

    /// It would wait for itself: a debug build ends there, others answer with an error.
    void onTheWorkersThread()
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::applicationFilePath(), {ownThreadOption});
        QVERIFY2(process.waitForFinished(20000), "it waits for itself");
        const QByteArray output = process.readAll();
        QVERIFY2(output.contains(" on the worker's own thread"), output.constData());
    }
};

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(ownThreadOption)) {
        ApiClient client(u"http://127.0.0.1:1"_s);
        QObject onThread;
        onThread.moveToThread(client.findChild<QThread*>());
        QMetaObject::invokeMethod(
            &onThread, [&client] { qInfo() << client.postBlocking({}, {}, {}, 1000).error; },
            Qt::BlockingQueuedConnection);
        return 0;
    }
    tst_ApiClient test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ApiClient.moc"
