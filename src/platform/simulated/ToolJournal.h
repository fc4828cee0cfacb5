#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace torvelane::platform::simulated {

/// The simulated tools' side of the journal and of their faults. One object a call of a tool: the row is written when
/// the tool begins, its exit code when it ends, so that a killed tool leaves a row without one.
class ToolCallRecord {
public:
    ToolCallRecord(const QString& tool, const QStringList& arguments);

    /// Waits, if a fault says so. The exit code that a fault lays down; absent if the tool shall do its work.
    [[nodiscard]] std::optional<int> meetFaults() const;

    void finish(int exitCode);

private:
    QString m_commandLine;
    qint64 m_id = 0;
};

} // namespace torvelane::platform::simulated
