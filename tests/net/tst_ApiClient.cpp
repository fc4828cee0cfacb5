#include "net/ApiClient.h"
#include "net/ApiWorker.h"
#include "support/LoopbackServer.h"
#include "support/Suite.h"

#include <QSignalSpy>

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
    if (path == "/array")
        return exchange.answer(200, "[1, 2]");
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
                                                 {u"/array"_s, 200, QJsonObject()},
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
    }

    void requestAsSent()
    {
        QByteArray sent;
        const LoopbackServer server([&sent](Exchange& exchange) {
            sent = exchange.head + exchange.body;
            return exchange.answer(200, "{}");
        });
        ApiClient client(server.url());
        std::ignore = client.postBlocking(u"/v1/x"_s, {{u"b"_s, u"ü"_s}, {u"a"_s, true}}, u"token"_s, 5000);
        QVERIFY2(sent.startsWith("POST /v1/x HTTP/1.1\r\n"), sent.constData());
        for (const char* const header : {"User-Agent: torvelane-app/1.0.4 (Windows)", "Accept: application/json",
                                         "Content-Type: application/json", "Authorization: Bearer token"})
            QVERIFY2(sent.contains(QByteArray(QByteArray("\r\n") + header + "\r\n")), sent.constData());
        QVERIFY2(sent.endsWith("\r\n\r\n{\"a\":true,\"b\":\"ü\"}"), sent.constData());
        std::ignore = client.postBlocking(u"/"_s, {}, {}, 5000);
        QVERIFY(!sent.contains("Authorization"));
    }

    void limits()
    {
        const LoopbackServer server(serve);
        ApiClient client(server.url());
        const LogCapture log;
        QElapsedTimer clock;
        clock.start();
        const ApiResponse late = client.postBlocking(u"/silent"_s, {}, {}, 600);
        QCOMPARE_LT(clock.elapsed(), 1500);
        QCOMPARE(late.status, 0);
        QCOMPARE(late.error, u"Request timed out"_s);
        QCOMPARE(log.lines(),
                 QStringList(u"[WARN] api: POST %1 transport error (attempt 1/1): Request timed out"_s.arg(
                     server.url(u"/silent"_s))));
    }

    void attempts()
    {
        ApiClient client(u"http://127.0.0.1:%1"_s.arg(freePort()));
        QObject owner;
        ApiResponse response;
        response.status = -1;
        const LogCapture log;
        QElapsedTimer clock;
        clock.start();
        client.postAsync(u"/x"_s, {}, {}, &owner, [&response](const ApiResponse& answer) { response = answer; });
        QTRY_COMPARE_WITH_TIMEOUT(response.status, 0, 10000);
        QCOMPARE_GE(clock.elapsed(), 1600);
        QVERIFY(!response.error.isEmpty());
        const QStringList lines = log.lines();
        QCOMPARE(lines.size(), 3);
        for (int i = 0; i < 3; ++i)
            QVERIFY2(lines[i].contains(u"transport error (attempt %1/3): "_s.arg(i + 1)), qPrintable(lines[i]));
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

    // Each answer finds its own callback; and as many at once as would not fit on the thread's stack, were they nested.
    void manyAtOnce()
    {
        const LoopbackServer server(serve);
        ApiClient client(server.url());
        QObject owner;
        // Each has 15 s from the moment when it is asked for, and Wine answers some 300 a second.
#ifdef Q_OS_WIN
        constexpr int requests = 500;
#else
        constexpr int requests = 3000;
#endif
        int right = 0;
        int done = 0;
        for (int i = 0; i < requests; ++i) {
            client.postAsync(u"/echo"_s, {{u"i"_s, i}}, {}, &owner, [&, i](const ApiResponse& response) {
                ++done;
                right += response.json[u"i"_s].toInt(-1) == i ? 1 : 0;
            });
        }
        QTRY_COMPARE_WITH_TIMEOUT(done, requests, 60000);
        QCOMPARE(right, requests);
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
        {
            // In the pause before the second attempt.
            ApiClient client(u"http://127.0.0.1:%1"_s.arg(freePort()));
            client.postAsync(u"/x"_s, {}, {}, this, [&called](const ApiResponse&) { ++called; });
            QTest::qWait(200);
            clock.start();
        }
        QCOMPARE_LT(clock.elapsed(), 500);
        QCOMPARE(called, 0);
    }

    void onTheWorkersThread()
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::applicationFilePath(), {ownThreadOption});
        QVERIFY2(process.waitForFinished(20000), "it waits for itself");
        const QByteArray output = process.readAll();
#ifdef QT_NO_DEBUG
        QVERIFY2(output.contains("postBlocking on the worker's own thread"), output.constData());
#else
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QVERIFY2(output.contains("called on the worker's own thread"), output.constData());
#endif
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains(ownThreadOption)) {
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
