#include "FuzzMachine.h"

#include "core/Log.h"
#include "core/Paths.h"
#include "platform/SharedLogFile.h"
#include "platform/simulated/SimulatedPc.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace torvelane::fuzz {

void prepareMachine()
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    static const QCoreApplication application(argc, argv);
    // Files are replaced and synchronised for every input, which a disk lets happen some fifty times a second.
    const QString memory = QStringLiteral("/dev/shm");
    static const QTemporaryDir dir(QDir(QFileInfo(memory).isWritable() ? memory : QDir::tempPath())
                                       .filePath(QStringLiteral("torvelane-fuzz-XXXXXX")));
    platform::SimulatedPc::setMachineFile(dir.filePath(QStringLiteral("machine.db")));
    Paths::setDataDirOverride(dir.path());
    constexpr auto aboveAll = static_cast<LogLevel>(static_cast<int>(LogLevel::Error) + 1);
    initLogging(aboveAll, platform::openSharedLogFile);
}

void replaceContent(const QString& path, const QByteArray& content)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

} // namespace torvelane::fuzz
