// What the optimisers and the measuring room do while somebody waits, each against its floor: the walk of a cleaner
// against find(1), the search for a game against the bare list of processes and their paths, and switching Gaming Mode on
// against its bare registry writes and the commit of its file. Tools are not started: how long they take is theirs.

#include "Bench.h"
#include "core/JsonFile.h"
#include "measure/SystemMetricsSampler.h"
#include "optimizers/DebloatCleaner.h"
#include "optimizers/GameDetector.h"
#include "optimizers/GamingMode.h"
#include "platform/Hardening.h"
#include "platform/Processes.h"
#include "platform/simulated/files/Drive.h"
#include "system/RegistryAccess.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace torvelane;
using bench::Pair;
using bench::require;
using bench::timeOf;

/// A machine on which the process is prepared as the program's is.
struct Fixture : bench::Machine {
    Fixture() { platform::prepareProcess(); }
};

/// Takes turns: which of the two is first changes every round.
template <typename Subject, typename Baseline>
void compare(benchmark::State& state, double goal, Subject subject, Baseline baseline)
{
    Pair pair;
    bool subjectFirst = false;
    subject();
    baseline();
    for (auto _ : state) {
        subjectFirst = !subjectFirst;
        Pair::Seconds taken{};
        if (subjectFirst)
            taken = timeOf(subject);
        const Pair::Seconds bare = timeOf(baseline);
        if (!subjectFirst)
            taken = timeOf(subject);
        pair.add(state, taken, bare);
    }
    pair.report(state, goal);
}

constexpr int folderCount = 20'000;
constexpr int filesPerFolder = 10;
constexpr qint64 fileSizeBytes = 3;

/// 20,000 folders in four levels, with ten small files each.
QString makeCaches(const QString& windowsPath)
{
    const QString root = platform::simulated::hostPath(windowsPath);
    for (int folder = 0; folder < folderCount; ++folder) {
        const QString path =
            QStringLiteral("%1/%2/%3/%4").arg(root).arg(folder / 2000).arg(folder / 50 % 40).arg(folder % 50);
        require(QDir().mkpath(path));
        for (int i = 0; i < filesPerFolder; ++i) {
            const int file = ::creat(QFile::encodeName(path + QStringLiteral("/file%1").arg(i)).constData(), 0600);
            require(file >= 0 && ::write(file, "abc", fileSizeBytes) == fileSizeBytes && ::close(file) == 0);
        }
    }
    return root;
}

void scanSize(benchmark::State& state)
{
    const Fixture fixture;
    const QString windowsPath = QStringLiteral("C:\\Users\\Alex\\AppData\\Local\\Temp\\bench");
    const QByteArray find = "find '" + QFile::encodeName(makeCaches(windowsPath)) + "' -type f -printf '%s\\n'";
    const CleanCategory category{QStringLiteral("bench"), {}, {}, {windowsPath}, false};
    compare(
        state, 1.3,
        [&category] { require(DebloatCleaner::scanSize(category) == folderCount * filesPerFolder * fileSizeBytes); },
        [&find] {
            FILE* const output = ::popen(find.constData(), "r");
            require(output);
            long long sum = 0;
            for (long long size = 0; std::fscanf(output, "%lld", &size) == 1;)
                sum += size;
            require(::pclose(output) == 0 && sum == folderCount * filesPerFolder * fileSizeBytes);
        });
}

void detectGame(benchmark::State& state)
{
    const Fixture fixture;
    QJsonArray running;
    for (int i = 0; i < 300; ++i) {
        running.append(
            QJsonObject{{QStringLiteral("id"), 1000 + i * 4},
                        {QStringLiteral("executable"), QStringLiteral("Program%1.exe").arg(i)},
                        {QStringLiteral("path"), QStringLiteral("C:\\Program Files\\Maker %1\\Program%1.exe").arg(i)}});
    }
    platform::SimulatedPc::setValue(QStringLiteral("processes/running"), running);
    compare(
        state, 1.5, [] { require(!detectRunningGame().found); },
        [] {
            QList<platform::RunningProcess> processes;
            require(platform::listProcesses(processes) == platform::Win32Error::Success && processes.size() == 300);
            for (const platform::RunningProcess& process : std::as_const(processes))
                benchmark::DoNotOptimize(platform::processImagePath(process.id));
        });
}

void sampleLoad(benchmark::State& state)
{
    const Fixture fixture;
    SystemMetricsSampler sampler;
    for (auto _ : state) {
        benchmark::DoNotOptimize(sampler.cpuPercent());
        benchmark::DoNotOptimize(sampler.memoryPercent());
        benchmark::DoNotOptimize(sampler.gpuPercent());
    }
}

void gamingModeOn(benchmark::State& state)
{
    const Fixture fixture;
    platform::SimulatedPc::fail(QStringLiteral("processes.runTool"), platform::Win32Error::FileNotFound);
    const QString fileName = QDir(Paths::dataDir()).filePath(QStringLiteral("gaming_mode.json"));
    require(GamingMode::activate().ok);
    QFile file(fileName);
    require(file.open(QIODevice::ReadOnly));
    const QJsonObject document = QJsonDocument::fromJson(file.readAll()).object();
    file.close();
    const QJsonArray entries = document.value(QStringLiteral("entries")).toArray();
    require(entries.size() == 20);
    const auto writeAll = [&entries] {
        for (const QJsonValue& element : entries) {
            const QJsonObject entry = element.toObject();
            require(writeDword(parseHive(entry.value(QStringLiteral("hive")).toString(), nullptr),
                               entry.value(QStringLiteral("key")).toString(),
                               entry.value(QStringLiteral("name")).toString(), 1));
        }
    };
    Pair pair;
    for (auto _ : state) {
        require(GamingMode::deactivate().ok);
        const Pair::Seconds on = timeOf([] { require(GamingMode::activate().count == 20); });
        require(GamingMode::deactivate().ok);
        pair.add(state, on, timeOf([&] {
                     require(JsonFile::write(fileName, document) == JsonFile::WriteError::None);
                     writeAll();
                 }));
    }
    pair.report(state, 0); // there is no goal
}

BENCHMARK(scanSize)->UseManualTime()->Iterations(9)->Unit(benchmark::kMillisecond);
BENCHMARK(detectGame)->UseManualTime()->Iterations(100)->Unit(benchmark::kMillisecond);
BENCHMARK(sampleLoad)->Unit(benchmark::kMicrosecond);
BENCHMARK(gamingModeOn)->UseManualTime()->Iterations(30)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return bench::run(argc, argv);
}
