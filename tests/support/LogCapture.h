#pragma once

#include <QString>
#include <QStringList>

namespace torvelane::test {

/// Reads what the log file has gained since the object was made. The log has to have been started on the data directory
/// in force, as TestMachine does.
class LogCapture {
public:
    LogCapture();

    /// The new lines, without their times: "[WARN] registry: ...".
    [[nodiscard]] QStringList lines() const;

    /// How many of the new lines are exactly this.
    [[nodiscard]] qsizetype count(const QString& line) const;

    [[nodiscard]] bool contains(const QString& line) const { return count(line) > 0; }

private:
    qint64 m_start = 0;
};

} // namespace torvelane::test
