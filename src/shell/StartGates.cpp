#include "shell/StartGates.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "measure/Connectivity.h"
#include "ui/controls/AppDialog.h"

namespace torvelane {

bool passConnectivityGate(const QString& apiBaseUrl, bool hasBackend)
{
    if (qEnvironmentVariableIsSet("TORVELANE_NO_CONNECTION_CHECK"))
        return true;
    if (!hasBackend) {
        logMessage(LogLevel::Info, QStringLiteral("connectivity"),
                   QStringLiteral("This build has no backend; connectivity check skipped"));
        return true;
    }
    if (checkInternet(apiBaseUrl))
        return true;
    AppDialog::info(nullptr, translate("StartGates", "Connection required"),
                    translate("StartGates", "An internet connection is required to use Torvelane."));
    return false;
}

} // namespace torvelane
