#include "core/Paths.h"

#include <QDir>
#include <QStandardPaths>

namespace torvelane::Paths {

namespace {

QString& dataDirOverride()
{
    static QString path;
    return path;
}

QString productDirBelow(const QString& parent)
{
    return QDir(parent).filePath(QStringLiteral("Torvelane"));
}

bool ensureDir(const QString& path)
{
    return QDir().mkpath(path) && QDir(path).exists();
}

} // namespace

QString dataDir()
{
    if (!dataDirOverride().isEmpty())
        return QDir(dataDirOverride()).absolutePath();
    return productDirBelow(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
}

QString machineDataDir()
{
    const QString programData = qEnvironmentVariable("ProgramData");
    return productDirBelow(programData.isEmpty() ? QStringLiteral("C:/ProgramData") : programData);
}

QString configFile()
{
    return QDir(dataDir()).filePath(QStringLiteral("config.json"));
}

QString stateDb()
{
    return QDir(dataDir()).filePath(QStringLiteral("state.db"));
}

QString undoFile()
{
    return QDir(dataDir()).filePath(QStringLiteral("undo.reg"));
}

QString logFile()
{
    return QDir(dataDir()).filePath(QStringLiteral("torvelane.log"));
}

QString lockFile()
{
    return QDir(dataDir()).filePath(QStringLiteral("torvelane.lock"));
}

QString tokenFile()
{
    return QDir(dataDir()).filePath(QStringLiteral("token.bin"));
}

QString enforcementFile()
{
    return QDir(machineDataDir()).filePath(QStringLiteral("enforcement.dat"));
}

bool ensureDataDir()
{
    return ensureDir(dataDir());
}

bool ensureMachineDataDir()
{
    return ensureDir(machineDataDir());
}

void setDataDirOverride(const QString& path)
{
    dataDirOverride() = path;
}

} // namespace torvelane::Paths
