#pragma once

#include "support/Suite.h"

#include <cstdlib>

namespace torvelane::test {

/// The suite's own program in a process of its own, on the test's machine and data directory: there `runSuite` calls the
/// suite's function for children.
struct Child : QProcess {
    static constexpr int longMs = 60000;

    explicit Child(const TestMachine& machine, const QStringList& arguments = {})
    {
        setEnvironment(systemEnvironment() + machine.childEnvironment());
        setStandardErrorFile(nullDevice());
        start(QCoreApplication::applicationFilePath(), QStringList{u"--child"_s, machine.dataDir()} + arguments);
    }

    /// Whether it came to where it was to stop, rather than to its end.
    bool hasStopped()
    {
        while (!canReadLine() && waitForReadyRead(longMs)) { }
        return canReadLine();
    }

    /// Lets one go on that waits for it. Needs no event loop, since the test may wait for a lock.
    void goOn()
    {
        write("go\n");
        waitForBytesWritten();
    }

    void crash()
    {
        kill();
        waitForFinished(longMs);
    }

    bool hasSucceeded()
    {
        return (state() == NotRunning || waitForFinished(longMs)) && exitStatus() == NormalExit && exitCode() == 0;
    }
};

/// In a child: tells the test that it is there, and waits until it is told to go on.
inline void stopUntilToldToGoOn()
{
    std::puts("stopped");
    std::fflush(stdout);
    std::ignore = std::fgetc(stdin);
}

/// In a child: what to call at each event. At the n-th one the process stops for good; the test then ends it, as a crash
/// or a power cut would.
inline std::function<void()> stopAtEvent(int n)
{
    return [n, events = 0]() mutable {
        if (++events != n)
            return;
        stopUntilToldToGoOn();
        std::_Exit(3);
    };
}

/// The suite's `main`: its tests, or in a child `runChild`, which gets the child's arguments.
template <typename Suite>
int runSuite(int argc, char** argv, int (*runChild)(const QStringList& arguments))
{
    QCoreApplication application(argc, argv);
    if (const QStringList arguments = QCoreApplication::arguments(); arguments.value(1) == u"--child") {
        Paths::setDataDirOverride(arguments.at(2));
        return runChild(arguments.sliced(3));
    }
    Suite suite;
    return QTest::qExec(&suite, argc, argv);
}

} // namespace torvelane::test
