// The network against what does the least that is possible: round trips of ApiClient against a bare
// QNetworkAccessManager, a download into a file against curl, and the two phases of SpeedTester against one curl for
// each stream. The server is a process of its own on the loopback address, this program with the argument --serve.

#include "Bench.h"
#include "measure/SpeedTester.h"
#include "net/ApiClient.h"
#include "net/TestAuthority.h"
#include "net/WinHttpGet.h"
#include "support/LoopbackServer.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QProcess>

#include <memory>
#include <vector>

namespace {

using namespace Qt::StringLiterals;
using namespace torvelane;
using bench::Machine;
using bench::Pair;
using bench::require;
using bench::timeOf;

constexpr int roundTrips = 1000;
constexpr double roundTripGoal = 1.2;
constexpr qint64 downloadBytes = 200LL * 1000 * 1000;
constexpr double downloadGoal = 1.3;
constexpr double memoryGoalMiB = 20;
constexpr qint64 endlessBytes = 1000LL * 1000 * 1000 * 1000;
constexpr int streams = 16;
constexpr int speedSeconds = 3;
constexpr double speedGoal = 0.8;

bool serve(test::Exchange& exchange)
{
    if (exchange.method != "GET")
        return exchange.answer(200, exchange.path == "/__up" ? QByteArray() : exchange.body);
    const qint64 bytes = exchange.path == "/file" ? downloadBytes
        : exchange.path == "/endless"             ? endlessBytes
                                                  : 90LL * 1000 * 1000;
    return exchange.send("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(bytes) + "\r\n\r\n")
        && exchange.sendZeros(bytes);
}

/// The server's process, for as long as the object lives.
class Server {
public:
    /// With a machine's file over TLS, as one whom that machine trusts.
    explicit Server(const QString& machineFile = {})
    {
        m_process.start(QCoreApplication::applicationFilePath(), {u"--serve"_s, machineFile});
        require(m_process.waitForStarted() && m_process.waitForReadyRead());
        m_url = QString::fromLatin1(m_process.readLine().trimmed());
    }
    ~Server()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    [[nodiscard]] QString url(const QString& path = {}) const { return m_url + path; }

private:
    QProcess m_process;
    QString m_url;
};

QNetworkRequest apiRequest(const QString& url)
{
    QNetworkRequest request{QUrl(url)};
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    return request;
}

/// Sends requests, `atOnce` of them on their way at any time, until roundTrips answers have come.
template <typename Send>
void makeRoundTrips(int atOnce, const Send& sendWith)
{
    QEventLoop loop;
    int unsent = roundTrips - atOnce;
    int unanswered = roundTrips;
    std::function<void()> answered = [&] {
        if (unsent-- > 0)
            sendWith(loop, answered);
        if (--unanswered == 0)
            loop.quit();
    };
    for (int i = 0; i < atOnce; ++i)
        sendWith(loop, answered);
    loop.exec();
}

/// The argument is how many requests are on their way at any time.
void apiRoundTrips(benchmark::State& state)
{
    const Machine machine;
    const Server server;
    ApiClient client(server.url());
    QNetworkAccessManager bare;
    const int atOnce = static_cast<int>(state.range(0));
    const auto viaClient = [&] {
        makeRoundTrips(atOnce, [&](QEventLoop& loop, const std::function<void()>& answered) {
            client.postAsync(u"/echo"_s, {{u"n"_s, 1000}}, {}, &loop, [&answered](const ApiResponse& response) {
                require(response.json.size() == 1);
                answered();
            });
        });
    };
    const auto viaManager = [&] {
        makeRoundTrips(atOnce, [&](QEventLoop& loop, const std::function<void()>& answered) {
            QNetworkReply* const reply = bare.post(apiRequest(server.url(u"/echo"_s)), R"({"n":1000})");
            QObject::connect(reply, &QNetworkReply::finished, &loop, [reply, &answered] {
                require(QJsonDocument::fromJson(reply->readAll()).object().size() == 1);
                reply->deleteLater();
                answered();
            });
        });
    };
    viaClient();
    viaManager();
    Pair pair;
    for (auto _ : state)
        pair.add(state, timeOf(viaClient), timeOf(viaManager));
    pair.report(state, roundTripGoal);
}
BENCHMARK(apiRoundTrips)->Arg(roundTrips)->Arg(1)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

/// Forgets the peak of what ran before: proc(5), clear_refs.
void resetMemoryPeak()
{
    QFile file(u"/proc/self/clear_refs"_s);
    require(file.open(QIODevice::WriteOnly) && file.write("5") == 1);
}

double memoryPeakMiB()
{
    QFile status(u"/proc/self/status"_s);
    require(status.open(QIODevice::ReadOnly));
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').constFirst().toDouble() / 1024;
    }
    return 0;
}

void downloadIntoFile(benchmark::State& state)
{
    const Machine machine;
    const Server server;
    const QString ours = Paths::dataDir() + u"/ours"_s;
    const QString theirs = Paths::dataDir() + u"/theirs"_s;
    resetMemoryPeak();
    const double before = memoryPeakMiB();
    const auto download = [&] {
        QFile file(ours);
        require(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        require(
            winHttpGet(
                server.url(u"/file"_s), 30000, nullptr, &file, [] { QCoreApplication::processEvents(); }, u"bench"_s)
                .ok);
        file.close();
        require(QFileInfo(ours).size() == downloadBytes);
    };
    const auto curl = [&] {
        require(QProcess::execute(u"curl"_s, {u"-s"_s, u"-o"_s, theirs, server.url(u"/file"_s)}) == 0);
    };
    curl();
    download();
    Pair pair;
    for (auto _ : state)
        pair.add(state, timeOf(download), timeOf(curl));
    pair.report(state, downloadGoal);
    state.counters["more_MiB"] = memoryPeakMiB() - before;
    state.counters["goal_MiB"] = memoryGoalMiB;
}
BENCHMARK(downloadIntoFile)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

/// Bytes that one curl for each stream moved in the time, by its own count, as Mbit/s.
double curlMbps(const QStringList& arguments, const char* count)
{
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < streams; ++i) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(u"curl"_s,
                                QStringList{u"-s"_s, u"-k"_s, u"--max-time"_s, QString::number(speedSeconds), u"-o"_s,
                                            u"/dev/null"_s, u"-w"_s, u"%{"_s + QString::fromLatin1(count) + u"}\n"_s}
                                    + arguments);
    }
    double bytes = 0;
    for (const auto& process : processes) {
        // One that has ended already isn't waited for.
        require(process->state() == QProcess::NotRunning || process->waitForFinished((speedSeconds + 10) * 1000));
        for (const QByteArray& line : process->readAllStandardOutput().split('\n'))
            bytes += line.toDouble();
    }
    return bytes * 8 / 1e6 / speedSeconds;
}

/// The tester against the server at that address, in turns with the curls.
void measureSpeed(benchmark::State& state, const QString& server)
{
    SpeedTester tester(QUrl(server), {.downloadMs = speedSeconds * 1000, .uploadMs = speedSeconds * 1000});
    double download = 0;
    double upload = 0;
    QEventLoop loop;
    QObject::connect(&tester, &SpeedTester::downloadReady, &loop, [&download](double mbps) { download = mbps; });
    QObject::connect(&tester, &SpeedTester::uploadReady, &loop, [&upload](double mbps) { upload = mbps; });
    QObject::connect(&tester, &SpeedTester::finished, &loop, &QEventLoop::quit);
    QObject::connect(&tester, &SpeedTester::failed, &loop, [](const QString& error) {
        qFatal("%s", qPrintable(error)); // a rate of nothing would be no result
    });

    // Takes no room on the disk.
    QFile body(Paths::dataDir() + u"/body"_s);
    require(body.open(QIODevice::WriteOnly) && body.resize(endlessBytes));
    std::vector<double> downloads;
    std::vector<double> uploads;
    resetMemoryPeak();
    const double before = memoryPeakMiB();
    for (auto _ : state) {
        require(tester.start());
        state.SetIterationTime(timeOf([&loop] { loop.exec(); }).count());
        downloads.push_back(download / curlMbps({server + u"/endless"_s}, "size_download"));
        // It would wait a second for the server's consent otherwise.
        uploads.push_back(
            upload
            / curlMbps({u"-H"_s, u"Expect:"_s, u"-X"_s, u"POST"_s, u"-T"_s, body.fileName(), server + u"/__up"_s},
                       "size_upload"));
    }
    state.counters["down_Mbps"] = download;
    state.counters["down_ratio"] = bench::median(downloads);
    state.counters["up_Mbps"] = upload;
    state.counters["up_ratio"] = bench::median(uploads);
    state.counters["goal"] = speedGoal;
    state.counters["more_MiB"] = memoryPeakMiB() - before;
}

void speedOfTheLine(benchmark::State& state)
{
    const Machine machine;
    const Server server;
    measureSpeed(state, server.url());
}

/// As the tester is used.
void speedOverTls(benchmark::State& state)
{
    const Machine machine;
    const Server server(Paths::dataDir() + u"/machine.db"_s);
    measureSpeed(state, server.url());
}
BENCHMARK(speedOverTls)->UseManualTime()->Iterations(3)->Unit(benchmark::kSecond);
BENCHMARK(speedOfTheLine)->UseManualTime()->Iterations(3)->Unit(benchmark::kSecond);

/// Over TLS if a machine's file is named, which then trusts the server's authority.
int serveUntilInputEnds(const QString& machineFile)
{
    std::optional<QSslConfiguration> tls;
    if (!machineFile.isEmpty()) {
        platform::SimulatedPc::setMachineFile(machineFile);
        const test::TestAuthority authority;
        authority.trust();
        tls = authority.server({});
    }
    const test::LoopbackServer server(serve, tls);
    std::puts(server.url().toLatin1().constData());
    std::fflush(stdout);
    while (std::getchar() != EOF) { }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && QByteArrayView(argv[1]) == "--serve") {
        const QCoreApplication application(argc, argv);
        return serveUntilInputEnds(application.arguments().value(2));
    }
    return bench::run(argc, argv);
}
