#include "restore/RestorePoint.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "platform/ChildProcess.h"
#include "platform/ConsoleText.h"
#include "system/RegistryAccess.h"
#include "system/WmiSession.h"

#include <tuple>

namespace torvelane::RestorePoint {

using platform::hexDigits;
using platform::HResult;
using platform::runChildProcess;
using platform::systemToolPath;
using platform::WmiMethodStage;

namespace {

const QString systemRestoreKey = QStringLiteral("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\SystemRestore");
const QString policyKey = QStringLiteral("SOFTWARE\\Policies\\Microsoft\\Windows NT\\SystemRestore");
const QString disableName = QStringLiteral("DisableSR");

/// https://learn.microsoft.com/windows/win32/sr/createrestorepoint-systemrestore
constexpr quint64 modifySettingsType = 12;
constexpr quint64 beginSystemChangeEvent = 100;

struct CreateResult {
    bool ok = false;
    HResult hresult = HResult::Unspecified;
    QString message;
};

void logInfo(const QString& message)
{
    logMessage(LogLevel::Info, QStringLiteral("restore"), message);
}

/// Of what the system refuses, the registry access writes its own log lines; there is nothing else to be done about it.
void writeZero(const QString& key, const QString& name)
{
    std::ignore = writeDword(RegistryHive::LocalMachine, key, name, 0);
}

/// sc.exe, for as long as it takes. What it says isn't looked at: a service that is there and runs is the usual case.
void runServiceControl(const QStringList& arguments)
{
    std::ignore = runChildProcess({systemToolPath(QStringLiteral("sc.exe")), arguments, {}},
                                  {.startTimeoutMs = -1, .finishTimeoutMs = -1});
}

CreateResult createOnce(const QString& description)
{
    CreateResult result;
    WmiSession session;
    QString reason;
    if (!session.connect(QStringLiteral("ROOT\\DEFAULT"), &reason)) {
        result.message = translate("RestorePoint", "System Restore WMI unavailable: %1").arg(reason);
        return result;
    }

    const auto call =
        session.callMethod(QStringLiteral("SystemRestore"), QStringLiteral("CreateRestorePoint"),
                           {{QStringLiteral("Description"), {.type = platform::vtBstr, .text = description}},
                            {QStringLiteral("RestorePointType"), {.type = platform::vtI4, .bits = modifySettingsType}},
                            {QStringLiteral("EventType"), {.type = platform::vtI4, .bits = beginSystemChangeEvent}}});
    switch (call.stage) {
    case WmiMethodStage::Services:
        result.message = translate("RestorePoint", "System Restore WMI service is null");
        break;
    case WmiMethodStage::Class:
        result.hresult = call.code;
        result.message =
            translate("RestorePoint", "System Protection appears disabled (GetObject 0x%1)").arg(hexDigits(call.code));
        break;
    case WmiMethodStage::Method:
        result.message = translate("RestorePoint", "CreateRestorePoint method unavailable");
        break;
    case WmiMethodStage::Instance: // without its input the call can't succeed
    case WmiMethodStage::Call:
        result.hresult = call.code;
        result.message = translate("RestorePoint", "ExecMethod failed (0x%1)").arg(hexDigits(call.code));
        break;
    case WmiMethodStage::Result:
        result.hresult = HResult::Ok;
        break;
    case WmiMethodStage::Done:
        result.hresult = HResult::Ok;
        const auto returned = static_cast<qint32>(call.returnValue.bits);
        result.ok = returned == 0;
        if (!result.ok)
            result.message = translate("RestorePoint", "CreateRestorePoint returned %1").arg(returned);
        break;
    }
    return result;
}

void liftBlockers()
{
    writeZero(policyKey, disableName);
    writeZero(policyKey, QStringLiteral("DisableConfig"));
    writeZero(systemRestoreKey, disableName);
    runServiceControl(
        {QStringLiteral("config"), QStringLiteral("VSS"), QStringLiteral("start="), QStringLiteral("demand")});
    runServiceControl({QStringLiteral("start"), QStringLiteral("VSS")});
}

} // namespace

bool createWithFallback(const QString& description, QString* error)
{
    bypassCreationFrequency();
    CreateResult result = createOnce(description);
    if (result.ok) {
        logInfo(QStringLiteral("System Restore Point created: ") + description);
        return true;
    }
    if (result.hresult == HResult::ServiceDisabled) {
        logInfo(QStringLiteral("System Restore disabled — lifting blockers and retrying"));
        liftBlockers();
        std::ignore = enableProtection(nullptr);
        bypassCreationFrequency();
        result = createOnce(description);
        if (result.ok) {
            logInfo(QStringLiteral("System Restore Point created after enabling protection: ") + description);
            return true;
        }
    }
    const QString reason = result.message.isEmpty() ? QStringLiteral("unknown error") : result.message;
    const QString text = QStringLiteral("Restore point not created: ") + reason;
    if (error)
        *error = text;
    logMessage(LogLevel::Warn, QStringLiteral("restore"), text);
    return false;
}

void bypassCreationFrequency()
{
    writeZero(systemRestoreKey, QStringLiteral("SystemRestorePointCreationFrequency"));
}

bool enableProtection(QString* error)
{
    using Outcome = platform::ChildProcessResult::Outcome;
    const auto refuse = [error](const QString& message) {
        if (error)
            *error = message;
        return false;
    };

    liftBlockers();
    const auto result =
        runChildProcess({systemToolPath(QStringLiteral("powershell.exe")),
                         {QStringLiteral("-NoProfile"), QStringLiteral("-NonInteractive"), QStringLiteral("-Command"),
                          QStringLiteral("Enable-ComputerRestore -Drive 'C:\\'")},
                         {}},
                        {}, platform::ErrorOutput::Separate);
    if (result.outcome == Outcome::NotStarted)
        return refuse(translate("RestorePoint", "Could not start PowerShell to enable System Protection"));
    // One that runs into its limit has most likely done its work, and hangs in something else.
    if (result.outcome == Outcome::TimedOut || (result.outcome == Outcome::Finished && result.exitCode == 0)) {
        bypassCreationFrequency();
        logInfo(QStringLiteral("System Protection enabled on C:\\"));
        return true;
    }
    const QString said = platform::decodeConsoleText(result.errorOutput).trimmed();
    return refuse(said.isEmpty() ? translate("RestorePoint", "Enable-ComputerRestore failed (admin required?)") : said);
}

bool isProtectionEnabled()
{
    RegistryValue value;
    if (readValue(RegistryHive::LocalMachine, systemRestoreKey, disableName, value) && value.exists
        && value.number == 1)
        return false;
    if (!readValue(RegistryHive::LocalMachine, systemRestoreKey, QStringLiteral("RPSessionInterval"), value)
        || !value.exists)
        return true;
    return value.number > 0;
}

} // namespace torvelane::RestorePoint
