#pragma once

#include "Pair.h"
#include "core/Log.h"
#include "core/Paths.h"
#include "platform/SharedLogFile.h"
#include "platform/simulated/SimulatedPc.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace torvelane::bench {

/// What has to be for a figure to mean anything.
inline void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// A simulated PC, a data directory and a log in a fresh folder beside the program, which lies on a disk where a
/// temporary folder may not.
class Machine {
public:
    Machine() : m_dir(QCoreApplication::applicationDirPath() + QStringLiteral("/bench-XXXXXX"))
    {
        require(m_dir.isValid());
        platform::SimulatedPc::setMachineFile(m_dir.filePath(QStringLiteral("machine.db")));
        Paths::setDataDirOverride(m_dir.path());
        initLogging(LogLevel::Info, platform::openSharedLogFile);
    }
    ~Machine() { closeLogging(); }
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

private:
    QTemporaryDir m_dir;
};

/// The benchmarks of a program without windows. The log goes to its file as in the program, but the lines on standard
/// error would drown the results.
inline int run(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (!std::freopen("/dev/null", "w", stderr))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace torvelane::bench
