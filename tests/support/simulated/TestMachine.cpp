#include "support/TestMachine.h"

#include "platform/Hardening.h"
#include "platform/simulated/Image.h"
#include "platform/simulated/SimulatedPc.h"
#include "platform/simulated/store/Store.h"

#include <QFile>

namespace torvelane::test {

using platform::SimulatedPc;

namespace {

/// Seeding takes longer than copying, so each test program seeds one machine and copies it.
void copySeededMachine(const QString& path)
{
    static const QTemporaryDir dir;
    static const QString seeded = dir.filePath(QStringLiteral("seeded.db"));
    if (!QFile::exists(seeded)) {
        SimulatedPc::setMachineFile(dir.filePath(QStringLiteral("machine.db")));
        if (!SimulatedPc::reset() || !SimulatedPc::copyTo(seeded))
            qFatal("The simulated PC could not be seeded");
    }
    if (!QFile::copy(seeded, path))
        qFatal("The simulated PC could not be copied");
}

} // namespace

void TestMachine::enter()
{
    const QString machineFile = m_dir.filePath(QStringLiteral("machine.db"));
    copySeededMachine(machineFile);
    SimulatedPc::setMachineFile(machineFile);
    platform::prepareProcess();
}

void TestMachine::leave() const
{
    SimulatedPc::setObserver({});
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
    platform::simulated::Store* const store = platform::simulated::Store::current();
    if (!store)
        qFatal("The simulated PC can't be used");
    MachineImage image{{}, platform::simulated::facilityImage(*store)};
    for (const platform::simulated::SimulatedValue& value : platform::simulated::allValues(*store))
        image.values.append({value.keyPath, value.name, value.type, value.data});
    return image;
}

} // namespace torvelane::test
