#include "measure/Connectivity.h"

#include "core/Log.h"
#include "net/WinHttpGet.h"

namespace torvelane {

namespace {

constexpr quint32 stageTimeoutMs = 5000;
const QString category = QStringLiteral("connectivity");

} // namespace

bool checkInternet(const QString& url)
{
    logMessage(LogLevel::Info, category, QStringLiteral("Verifying internet reachability via ") + url);
    const HttpResult result = winHttpGet(url, stageTimeoutMs, nullptr, nullptr, {}, category);
    if (result.ok)
        logMessage(LogLevel::Info, category, QStringLiteral("Online (HTTP %1)").arg(result.status));
    else
        logMessage(LogLevel::Warn, category, QStringLiteral("No real internet connection detected"));
    return result.ok;
}

} // namespace torvelane
