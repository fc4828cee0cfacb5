#pragma once

#include "core/Paths.h"

#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>

namespace torvelane::test {

/// Reads the lines that the log file has gained since the object was made. The log has to have been started on the
/// data directory in force, as TestMachine does.
class LogCapture {
public:
    LogCapture() : m_start(QFileInfo(Paths::logFile()).size()) { }

    /// The new lines, without their times: "[WARN] registry: ...".
    [[nodiscard]] QStringList lines() const
    {
        QFile file(Paths::logFile());
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text) || !file.seek(m_start))
            return {};
        QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (QString& line : lines)
            line = line.sliced(line.indexOf(QLatin1Char(' ')) + 1);
        return lines;
    }

    /// How many of the new lines are exactly this.
    [[nodiscard]] qsizetype count(const QString& line) const { return lines().count(line); }

    [[nodiscard]] bool contains(const QString& line) const { return count(line) > 0; }

private:
    qint64 m_start = 0;
};

} // namespace torvelane::test
