#pragma once

#include "core/Paths.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace torvelane::test {

/// One registry value as it lies on the machine.
struct MachineValue {
    QString keyPath;
    QString name;
    quint32 type = 0;
    QByteArray data;

    bool operator==(const MachineValue&) const = default;
};

/// The machine: every registry value that Torvelane could reach, in a fixed order, and on the simulated PC all else that
/// there is, one line for each fact.
struct MachineImage {
    QList<MachineValue> values;
    QStringList facts;

    bool operator==(const MachineImage&) const = default;
};

/// A machine and a data directory for one test. On the simulated PC both are new and end with the object; under Wine the
/// registry is the prefix's own, so a test there puts back what it changes, which is what it is about anyway. Only what
/// lies below HKCU\Software\Torvelane is deleted at the beginning and at the end.
///
/// Sets the process-wide data directory override and starts the log afresh; one at a time.
class TestMachine {
public:
    TestMachine();
    ~TestMachine();
    TestMachine(const TestMachine&) = delete;
    TestMachine& operator=(const TestMachine&) = delete;

    [[nodiscard]] QString dataDir() const { return Paths::dataDir(); }

    /// A path in a scratch folder that ends with the object.
    [[nodiscard]] QString scratchFile(const QString& name) const { return m_dir.filePath(name); }

    /// The environment for a child process that works on this machine and data directory, as NAME=VALUE. The
    /// program's data directory is then `childDataDir`.
    [[nodiscard]] QStringList childEnvironment() const;
    [[nodiscard]] QString childDataDir() const;

    [[nodiscard]] static MachineImage image();

private:
    void enter();
    void leave() const;

    QTemporaryDir m_dir;
};

/// One readable line, in lower case for values, for each value or fact that differs: "- " before, "+ " after; empty if none does. Keys
/// without values don't count, nor does the case of names.
[[nodiscard]] QStringList differences(const MachineImage& before, const MachineImage& after);

/// Whether the long sweeps are wanted (`./dev test --full`).
[[nodiscard]] inline bool fullRun()
{
    return qEnvironmentVariableIsSet("TORVELANE_FULL");
}

} // namespace torvelane::test
