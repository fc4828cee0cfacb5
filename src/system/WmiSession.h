#pragma once

#include "platform/Wmi.h"
#include "system/WmiRow.h"

#include <QList>
#include <QString>

namespace torvelane {

/// The one way to Windows Management Instrumentation: COM on the calling thread for as long as the object lives, and
/// one connected namespace. On the stack: connect once, any number of queries and calls, out of scope on the same
/// thread; never stored. On a worker, since a provider may take any time and there is no limit.
///
/// Its messages are English; `error` may be null everywhere.
class WmiSession {
public:
    /// Connects to a namespace ("ROOT\CIMV2") as the current user. A thread that is already in the single-threaded
    /// apartment is used as it stands. False with the failed step and its code in `error`, which is also logged
    /// (category "wmi"). The security of the process is set up by the first connect of all; a failure of that is only
    /// logged.
    [[nodiscard]] bool connect(const QString& namespacePath, QString* error);

    /// The rows in the order of the enumerator. An empty list with `error` untouched means that there are no instances;
    /// an empty list with `error` filled means failure, which isn't logged.
    [[nodiscard]] QList<WmiRow> query(const QString& wql, QString* error);

    /// Calls a method of a class. The result says how far that got; WmiMethodStage::Services without a connection.
    [[nodiscard]] platform::WmiMethodResult callMethod(const QString& className, const QString& method,
                                                       const QList<platform::WmiProperty>& arguments);

private:
    platform::WmiConnection m_connection;
};

} // namespace torvelane
