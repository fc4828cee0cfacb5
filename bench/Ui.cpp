// The windows: how soon the main window stands, what it weighs and what it costs while nothing happens, against windows
// that do next to nothing; and how long the longest frame takes. On the offscreen platform, where a flush of the window
// goes nowhere.

#include "Bench.h"
#include "account/AuthService.h"
#include "app/AppContext.h"
#include "platform/simulated/SimulatedPc.h"
#include "ui/main/MainWindow.h"
#include "ui/main/Navigation.h"
#include "ui/pages/Page.h"
#include "ui/theme/Theme.h"
#include "ui/windows/ChromeWindow.h"
#include "ui/windows/SmoothScroller.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <optional>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace torvelane;
using bench::Pair;
using bench::require;

constexpr int starts = 20;
constexpr int warmUpStarts = 2;
constexpr int memoryStarts = 5;
constexpr int idlePairs = 3;
constexpr double frameGoalMs = 16;
constexpr QSize windowSize(1080, 700);
constexpr int manyCards = 90;

int cpuSeconds = 10;

/// A program with its standard input and output on pipes, ended by closing the first. Through the system itself: what
/// QProcess adds would be part of each time and flatter the ratios.
class Child {
public:
    explicit Child(std::vector<std::string> arguments)
    {
        std::array<int, 2> input{};
        std::array<int, 2> output{};
        require(pipe2(input.data(), O_CLOEXEC) == 0 && pipe2(output.data(), O_CLOEXEC) == 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        std::vector<char*> texts;
        for (std::string& argument : arguments)
            texts.push_back(argument.data());
        texts.push_back(nullptr);
        require(posix_spawn(&m_process, texts.front(), &actions, nullptr, texts.data(), environ) == 0);
        posix_spawn_file_actions_destroy(&actions);
        close(input[0]);
        close(output[1]);
        m_input = input[1];
        m_output = fdopen(output[0], "r");
    }

    ~Child()
    {
        close(m_input);
        fclose(m_output);
        int status = 0;
        waitpid(m_process, &status, 0);
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Blocks until there is one.
    std::string line()
    {
        std::array<char, 256> text{};
        require(fgets(text.data(), static_cast<int>(text.size()), m_output));
        return text.data();
    }

    struct Memory {
        double proportionalMiB = 0; ///< Shared pages are divided among the processes that share them.
        double anonymousMiB = 0;    ///< The part that no file stands behind.
    };

    Memory memory() const
    {
        QFile rollup(QStringLiteral("/proc/%1/smaps_rollup").arg(m_process));
        require(rollup.open(QIODevice::ReadOnly));
        Memory memory;
        const QList<QByteArray> lines = rollup.readAll().split('\n');
        for (const QByteArray& text : lines) {
            const double sizeMiB = text.simplified().split(' ').value(1).toDouble() / 1024;
            if (text.startsWith("Pss:"))
                memory.proportionalMiB = sizeMiB;
            else if (text.startsWith("Anonymous:"))
                memory.anonymousMiB = sizeMiB;
        }
        return memory;
    }

private:
    pid_t m_process = 0;
    int m_input = -1;
    FILE* m_output = nullptr;
};

/// A machine and a data directory, for this process and those that it starts.
class Fixture {
public:
    Fixture() : m_dir(QCoreApplication::applicationDirPath() + QStringLiteral("/bench-XXXXXX"))
    {
        require(m_dir.isValid());
        qputenv("XDG_CONFIG_HOME", m_dir.path().toLocal8Bit());
        platform::SimulatedPc::setMachineFile(m_dir.filePath(QStringLiteral("machine.db")));
    }

private:
    QTemporaryDir m_dir;
};

/// The time up to the first paint; the program's end isn't part of it.
Pair::Seconds firstPaint(const char* program)
{
    const auto start = std::chrono::steady_clock::now();
    Child child({program, "wait"});
    child.line();
    return std::chrono::steady_clock::now() - start;
}

void startToFirstPaint(benchmark::State& state)
{
    const Fixture fixture;
    for (int i = 0; i < warmUpStarts; ++i) {
        firstPaint(TORVELANE_MAIN_WINDOW);
        firstPaint(TORVELANE_LABEL_WINDOW);
    }
    Pair pair;
    for (auto _ : state) {
        const Pair::Seconds subject = firstPaint(TORVELANE_MAIN_WINDOW);
        pair.add(state, subject, firstPaint(TORVELANE_LABEL_WINDOW));
    }
    pair.report(state, 2.8);
}
BENCHMARK(startToFirstPaint)->UseManualTime()->Iterations(starts)->Unit(benchmark::kMillisecond);

/// When no page is left that could still join the window. Medians of windows that take turns.
void memoryWithAllPages(benchmark::State& state)
{
    const Fixture fixture;
    struct Values {
        std::vector<double> proportional;
        std::vector<double> anonymous;
    } subject, baseline;
    const auto measure = [](const char* program, Values& values) {
        Child child({program, "settle"});
        child.line(); // painted
        child.line();
        const Child::Memory memory = child.memory();
        values.proportional.push_back(memory.proportionalMiB);
        values.anonymous.push_back(memory.anonymousMiB);
    };
    for (auto _ : state) {
        measure(TORVELANE_MAIN_WINDOW, subject);
        measure(TORVELANE_LABEL_WINDOW, baseline);
    }
    state.counters["subject_MiB"] = bench::median(subject.proportional);
    state.counters["baseline_MiB"] = bench::median(baseline.proportional);
    state.counters["ratio"] = bench::median(subject.proportional) / bench::median(baseline.proportional);
    state.counters["goal"] = 1.9;
    state.counters["anonymous_MiB"] = bench::median(subject.anonymous);
    state.counters["anonymous_ratio"] = bench::median(subject.anonymous) / bench::median(baseline.anonymous);
}
BENCHMARK(memoryWithAllPages)->Iterations(memoryStarts);

/// Processor time in milliseconds a second.
double idleCost(std::vector<std::string> arguments, const std::string& windowState)
{
    arguments.insert(arguments.end(), {"cpu", windowState, std::to_string(cpuSeconds)});
    Child child(std::move(arguments));
    child.line();
    return std::stod(child.line()) * 1000 / cpuSeconds;
}

void processorTimeWhileNothingHappens(benchmark::State& state)
{
    const Fixture fixture;
    for (auto _ : state) {
        std::vector<double> ratios;
        double active = 0;
        for (int i = 0; i < idlePairs; ++i) {
            const double blits = idleCost({TORVELANE_LABEL_WINDOW, "blit"}, "active");
            active = idleCost({TORVELANE_MAIN_WINDOW}, "active");
            ratios.push_back(active / blits);
        }
        state.counters["active_ms_per_s"] = active;
        state.counters["active_to_blits"] = bench::median(ratios); // goal 2
        for (const char* const hidden : {"inactive", "minimised"}) // goal 0.1
            state.counters[std::string(hidden) + "_to_active"] = idleCost({TORVELANE_MAIN_WINDOW}, hidden) / active;
    }
}
BENCHMARK(processorTimeWhileNothingHappens)->Iterations(1);

/// The main window, shown, in this process.
class ShownWindow {
public:
    explicit ShownWindow(const QByteArray& catalogue = {})
    {
        require(m_context.init() && m_context.auth->restoreSession());
        if (!catalogue.isEmpty()) {
            m_context.catalog.clear();
            require(m_context.catalog.loadFromJson(catalogue));
        }
        m_frame.emplace(QStringLiteral("Torvelane"));
        window = new MainWindow(m_context, &*m_frame);
        m_frame->setContent(window);
        require(m_frame->size() == windowSize);
        m_frame->show();
        m_frame->activateWindow();
    }

private:
    Fixture m_fixture;
    AppContext m_context;
    std::optional<ChromeWindow> m_frame;

public:
    MainWindow* window = nullptr;
};

/// Processor time of this thread: other programs don't lengthen it, and neither does waiting.
double threadMs()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

template <typename Work>
double threadMsOf(Work work)
{
    const double before = threadMs();
    work();
    return threadMs() - before;
}

/// Lets the event loop turn for a while. The time of each turn, the longest first.
std::vector<double> turnsMs(int durationMs)
{
    std::vector<double> turns;
    const QDeadlineTimer end(durationMs);
    while (!end.hasExpired()) {
        QTimer::singleShot(static_cast<int>(end.remainingTime()), qApp, [] {}); // ends the wait
        turns.push_back(threadMsOf([] { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents); }));
    }
    std::ranges::sort(turns, std::greater());
    return turns;
}

double longestTurnMs(int durationMs)
{
    return turnsMs(durationMs).front();
}

constexpr int settleMs = 400; ///< Longer than any fade.

/// A frame of the animated background in which it is composed anew, of which there are some five a second, against a blit of
/// the window's size.
void composedBackground(benchmark::State& state)
{
    constexpr int seconds = 3;
    constexpr std::ptrdiff_t composed = 5 * seconds;
    HeroWindow window;
    window.resize(windowSize);
    window.show();
    window.activateWindow();
    longestTurnMs(settleMs);
    const QPixmap picture = window.grab();
    QPixmap target(picture.size());
    std::vector<double> blits;
    for (int i = 0; i < composed; ++i)
        blits.push_back(threadMsOf([&] { QPainter(&target).drawPixmap(0, 0, picture); }));
    for (auto _ : state) {
        std::vector<double> frames = turnsMs(seconds * 1000);
        frames.resize(composed);
        state.counters["longest_ms"] = frames.front();
        state.counters["median_ms"] = bench::median(frames);
        state.counters["blit_ms"] = bench::median(blits);
        state.counters["goal_ms"] = frameGoalMs;
    }
}
BENCHMARK(composedBackground)->Iterations(1);

/// All of the window with a section page of twelve cards on it.
void paintedSectionPage(benchmark::State& state)
{
    const ShownWindow shown;
    shown.window->navigateTo(QStringLiteral("Interface"));
    longestTurnMs(settleMs);
    std::vector<double> paints;
    for (auto _ : state) {
        paints.push_back(threadMsOf([&] { shown.window->repaint(); }));
        state.SetIterationTime(paints.back() / 1000);
    }
    state.counters["longest_ms"] = std::ranges::max(paints);
    state.counters["median_ms"] = bench::median(paints);
    state.counters["goal_ms"] = frameGoalMs;
}
BENCHMARK(paintedSectionPage)->UseManualTime()->Iterations(50)->Unit(benchmark::kMillisecond);

/// Each page in turn, until its fade is over; then once more, when nothing on it is new.
void switchedPages(benchmark::State& state)
{
    const ShownWindow shown;
    longestTurnMs(settleMs);
    const QList<NavGroup> groups = navigationGroups();
    for (auto _ : state) {
        for (const char* const round : {"first_visit_longest_ms", "later_visit_longest_ms"}) {
            double longest = 0;
            for (const NavGroup& group : groups) {
                for (const NavSection& section : group.sections) {
                    const double opened = threadMsOf([&] { shown.window->navigateTo(section.key); });
                    longest = std::max({longest, opened, longestTurnMs(settleMs)});
                }
            }
            state.counters[round] = longest;
        }
        state.counters["goal_ms"] = frameGoalMs;
    }
}
BENCHMARK(switchedPages)->Iterations(1);

/// What a second of the home page costs the GUI thread on a machine with many processes and no game: where nobody sees
/// it, and shown in a window that isn't active, where it is painted once.
void homeTicks(benchmark::State& state)
{
    constexpr int processes = 300;
    constexpr int watchedMs = 7000; // two looks at all processes
    const ShownWindow shown;
    QJsonArray running;
    for (int i = 0; i < processes; ++i)
        running.append(QJsonObject{{QStringLiteral("id"), 4 + i * 4},
                                   {QStringLiteral("executable"), QStringLiteral("svchost.exe")},
                                   {QStringLiteral("path"), QStringLiteral("C:\\Tools\\svchost.exe")}});
    require(platform::SimulatedPc::setValue(QStringLiteral("processes/running"), running));
    QWidget other;
    other.show();
    other.activateWindow();
    longestTurnMs(settleMs * 5);
    for (auto _ : state) {
        state.counters["tick_and_paint_ms"] = longestTurnMs(watchedMs);
        shown.window->showSettingsPage();
        longestTurnMs(settleMs * 5);
        state.counters["tick_ms"] = longestTurnMs(watchedMs);
        state.counters["goal_ms"] = 2.0;
    }
}
BENCHMARK(homeTicks)->Iterations(1);

QByteArray longSection()
{
    QByteArrayList entries;
    for (int i = 0; i < manyCards; ++i) {
        entries.append(R"({"id": "e%1", "name": "Entry number %1 with a name", "section": "Explorer", "operations": [
            {"hive": "HKCU", "path": "Software\\Torvelane\\Bench", "name": "%1", "desired": 1}]})");
        entries.last().replace("%1", QByteArray::number(i));
    }
    return R"({"tweaks": [)" + entries.join(',') + "]}";
}

/// From the top of the visible page to its end, by one notch of the wheel after the other.
void scroll(const MainWindow& window, benchmark::State& state)
{
    constexpr int notchEveryMs = 50;
    longestTurnMs(settleMs);
    QScrollArea* area = nullptr;
    for (auto* const page : window.findChildren<Page*>()) {
        if (page->isVisible())
            area = page->findChild<QScrollArea*>();
    }
    require(area);
    const QScrollBar* const bar = area->verticalScrollBar();
    require(bar->maximum() > 0);
    for (auto _ : state) {
        std::vector<double> longest;
        while (bar->value() < bar->maximum()) {
            const QPointF at(area->viewport()->rect().center());
            QWheelEvent notch(at, area->viewport()->mapToGlobal(at), {}, QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                              Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(area->viewport(), &notch);
            longest.push_back(longestTurnMs(notchEveryMs));
        }
        state.counters["longest_ms"] = std::ranges::max(longest);
        state.counters["median_ms"] = bench::median(longest);
        state.counters["goal_ms"] = frameGoalMs;
    }
}

void scrolledCards(benchmark::State& state)
{
    const ShownWindow shown(longSection());
    shown.window->navigateTo(QStringLiteral("Explorer"));
    scroll(*shown.window, state);
}
BENCHMARK(scrolledCards)->Iterations(1);

/// The restore points of a machine that has many; each row has two buttons.
void scrolledRows(benchmark::State& state)
{
    constexpr int points = 200;
    const ShownWindow shown;
    QJsonArray stored;
    for (int i = 1; i <= points; ++i)
        stored.append(QJsonObject{{QStringLiteral("SequenceNumber"), i},
                                  {QStringLiteral("Description"), QStringLiteral("Restore point %1").arg(i)},
                                  {QStringLiteral("CreationTime"), QStringLiteral("20240105081202.902114-000")}});
    require(platform::SimulatedPc::setValue(QStringLiteral("wmi/namespaces/ROOT\\DEFAULT/SystemRestore"), stored));
    shown.window->navigateTo(QStringLiteral("Restore Points"));
    longestTurnMs(settleMs * 5); // until they are listed
    scroll(*shown.window, state);
}
BENCHMARK(scrolledRows)->Iterations(1);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C.UTF-8"); // Qt complains of another one, at length
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const qsizetype seconds = QCoreApplication::arguments().indexOf(QStringLiteral("--seconds"));
    if (seconds >= 0)
        cpuSeconds = std::max(1, QCoreApplication::arguments().value(seconds + 1).toInt());
    applyTheme(application);
    application.installEventFilter(new SmoothScroller(&application));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
