#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace torvelane::platform {

/// One call of the simulated machine.
struct Call {
    QString name; ///< "facility.call": "registry.setValue", "tools.cmd".
    QStringList arguments;

    [[nodiscard]] QString facility() const { return name.section(u'.', 0, 0); }

    /// The text in which faults look for their part.
    [[nodiscard]] QString argumentLine() const { return arguments.join(u' '); }
};

enum class CallMoment { Before, After };

/// A call as it stands in the machine's file.
struct CallRecord {
    Call call;
    qint64 startedMs = 0; ///< Since the epoch.
    qint64 processId = 0;
    std::optional<qint64>
        answer; ///< A code of the facility's own; absent while the call runs, for ever if it was killed.
};

} // namespace torvelane::platform
