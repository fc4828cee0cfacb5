#include "platform/Processes.h"

#include "platform/simulated/calls/Calls.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

/// The facility "processes": "running" lists {"id", "executable", "path"}; without a path nobody may open the process.
namespace torvelane::platform {

using namespace simulated;

namespace {

/// Without the terminating NUL of the buffer that Windows fills.
constexpr qsizetype longestPath = 259;

} // namespace

Win32Error listProcesses(QList<RunningProcess>& out)
{
    out.clear();
    return Calls::query(
        Call{u"processes.list"_s, {}},
        [&out](const QJsonObject& document) {
            for (const QJsonValue& element : document.value("running"_L1).toArray()) {
                const QJsonObject process = element.toObject();
                out.append({static_cast<quint32>(process.value("id"_L1).toInteger()),
                            process.value("executable"_L1).toString()});
            }
            return Win32Error::Success;
        },
        Calls::Recorded::No);
}

QString processImagePath(quint32 processId)
{
    QString path;
    const Win32Error code = Calls::query(
        Call{u"processes.imagePath"_s, {QString::number(processId)}},
        [&path, processId](const QJsonObject& document) {
            for (const QJsonValue& element : document.value("running"_L1).toArray()) {
                const QJsonObject process = element.toObject();
                if (process.value("id"_L1).toInteger() == processId)
                    path = process.value("path"_L1).toString();
            }
            return Win32Error::Success;
        },
        Calls::Recorded::No);
    return code == Win32Error::Success && path.size() <= longestPath ? path : QString();
}

} // namespace torvelane::platform
