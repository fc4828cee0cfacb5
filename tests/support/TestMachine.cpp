#include "support/TestMachine.h"

#include "core/Log.h"
#include "platform/SharedLogFile.h"

#include <QSet>

namespace torvelane::test {

namespace {

QSet<QString> described(const MachineImage& image)
{
    QSet<QString> lines(image.facts.begin(), image.facts.end());
    for (const MachineValue& value : image.values) {
        lines.insert(QStringLiteral("%1 [%2] type %3: %4")
                         .arg(value.keyPath.toLower(), value.name.toLower(), QString::number(value.type),
                              QString::fromLatin1(value.data.toHex())));
    }
    return lines;
}

} // namespace

TestMachine::TestMachine()
{
    enter();
    closeLogging();
    Paths::setDataDirOverride(m_dir.filePath(QStringLiteral("config/Torvelane")));
    if (!Paths::ensureDataDir())
        qFatal("The data directory could not be made");
    initLogging(LogLevel::Debug, platform::openSharedLogFile);
}

TestMachine::~TestMachine()
{
    leave();
    closeLogging();
    Paths::setDataDirOverride({});
}

QStringList differences(const MachineImage& before, const MachineImage& after)
{
    if (before == after)
        return {};
    const QSet<QString> expected = described(before);
    const QSet<QString> found = described(after);
    QStringList lines;
    for (const QString& line : expected - found)
        lines.append(QStringLiteral("- ") + line);
    for (const QString& line : found - expected)
        lines.append(QStringLiteral("+ ") + line);
    lines.sort();
    return lines;
}

} // namespace torvelane::test
