#include "support/TestMachine.h"

#include "core/Log.h"
#include "core/Paths.h"
#include "platform/ProcessSettings.h"
#include "platform/simulated/SimulatedPc.h"

#include <QDir>
#include <QFile>

namespace torvelane::test {

using platform::SimulatedPc;

namespace {

/// Seeding takes longer than copying, so each test program seeds one machine and copies it.
QString seededMachine()
{
    static const QTemporaryDir dir;
    static const QString path = [] {
        const QString file = dir.filePath(QStringLiteral("seeded.db"));
        SimulatedPc::setMachineFile(dir.filePath(QStringLiteral("machine.db")));
        if (!SimulatedPc::reset() || !SimulatedPc::copyTo(file))
            qFatal("The simulated PC could not be seeded");
        return file;
    }();
    return path;
}

} // namespace

TestMachine::TestMachine()
{
    const QString machineFile = m_dir.filePath(QStringLiteral("machine.db"));
    if (!QFile::copy(seededMachine(), machineFile))
        qFatal("The simulated PC could not be copied");
    SimulatedPc::setMachineFile(machineFile);
    platform::prepareProcess();
    closeLogging();
    Paths::setDataDirOverride(childDataDir());
    if (!Paths::ensureDataDir())
        qFatal("The data directory could not be made");
    initLogging(LogLevel::Debug);
}

TestMachine::~TestMachine()
{
    SimulatedPc::setChangeObserver({});
    closeLogging();
    Paths::setDataDirOverride({});
}

QString TestMachine::dataDir() const
{
    return Paths::dataDir();
}

QString TestMachine::scratchFile(const QString& name) const
{
    return m_dir.filePath(name);
}

QStringList TestMachine::childEnvironment() const
{
    return {QStringLiteral("TORVELANE_SIMULATED_PC=") + SimulatedPc::machineFile(),
            QStringLiteral("XDG_CONFIG_HOME=") + m_dir.filePath(QStringLiteral("config"))};
}

QString TestMachine::childDataDir() const
{
    return m_dir.filePath(QStringLiteral("config/Torvelane"));
}

MachineImage TestMachine::image()
{
    MachineImage image;
    const platform::MachineSnapshot snapshot = SimulatedPc::snapshot();
    image.reserve(snapshot.size());
    for (const platform::SimulatedValue& value : snapshot)
        image.append({value.keyPath, value.name, value.type, value.data});
    return image;
}

} // namespace torvelane::test
