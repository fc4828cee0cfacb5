#include "platform/Elevation.h"
#include "platform/Registry.h"
#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/tools/Tool.h"
#include "platform/simulated/tools/ToolLanguage.h"

#include <QJsonArray>

#include <algorithm>
#include <array>
#include <optional>
#include <span>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

// The codes that sc.exe ends with: https://learn.microsoft.com/windows/win32/debug/system-error-codes
constexpr int accessDenied = 5;
constexpr int alreadyRunning = 1056;
constexpr int serviceDisabled = 1058;
constexpr int serviceDoesNotExist = 1060;
constexpr int syntaxError = 1639;
constexpr quint32 startDisabled = 4;

struct Message {
    int code;
    QStringView english;
    QStringView french;
};

constexpr std::array messages = {
    Message{accessDenied, u"Access is denied.", u"Accès refusé."},
    Message{alreadyRunning, u"An instance of the service is already running.",
            u"Une instance du service s’exécute déjà."},
    Message{serviceDisabled,
            u"The service cannot be started, either because it is disabled or because it has no enabled devices "
            "associated with it.",
            u"Le service ne peut pas être démarré parce qu’il est désactivé ou qu’aucun périphérique activé ne lui est "
            "associé."},
    Message{serviceDoesNotExist, u"The specified service does not exist as an installed service.",
            u"Le service spécifié n’existe pas en tant que service installé."},
};

struct StartType {
    QLatin1String name;
    quint32 number;
};

constexpr std::array startTypes = {StartType{"boot"_L1, 0}, StartType{"system"_L1, 1}, StartType{"auto"_L1, 2},
                                   StartType{"demand"_L1, 3}, StartType{"disabled"_L1, startDisabled}};

int fail(const ToolOutput& output, const QString& call, int code)
{
    const auto message = std::ranges::find(messages, code, &Message::code);
    output.line(inLanguage(u"[SC] %1 FAILED %2:"_s, u"[SC] %1 échec(s) %2 :"_s).arg(call).arg(code));
    output.line();
    if (message != messages.end())
        output.line(inLanguage(message->english.toString(), message->french.toString()));
    output.line();
    return code;
}

QString keyOf(const QString& service)
{
    return u"SYSTEM\\CurrentControlSet\\Services\\"_s + service;
}

/// Absent if there is no such service.
std::optional<quint32> startOf(const QString& service)
{
    RegistryKey key;
    quint32 number = 0;
    quint32 type = 0;
    quint32 sizeBytes = 0;
    if (RegistryKey::open(RootKey::LocalMachine, keyOf(service), KeyAccess::Read, key) != Win32Error::Success
        || key.query(u"Start"_s, std::as_writable_bytes(std::span(&number, 1)), type, sizeBytes) != Win32Error::Success)
        return std::nullopt;
    return number;
}

int config(const QString& service, const QString& typeName, const ToolOutput& output)
{
    const auto type = std::ranges::find_if(
        startTypes, [&](const StartType& t) { return typeName.compare(t.name, Qt::CaseInsensitive) == 0; });
    if (type == startTypes.end()) {
        output.error(u"The simulated sc.exe doesn't know the start type "_s + typeName);
        return syntaxError;
    }
    if (!isElevated())
        return fail(output, u"OpenService"_s, accessDenied);
    if (!startOf(service))
        return fail(output, u"OpenService"_s, serviceDoesNotExist);
    RegistryKey key;
    Win32Error code = RegistryKey::open(RootKey::LocalMachine, keyOf(service), KeyAccess::SetValue, key);
    if (code == Win32Error::Success)
        code = key.setValue(u"Start"_s, regDword, std::as_bytes(std::span(&type->number, 1)));
    if (code != Win32Error::Success)
        return fail(output, u"ChangeServiceConfig"_s, static_cast<int>(toNumber(code)));
    output.line(inLanguage(u"[SC] ChangeServiceConfig SUCCESS"_s, u"[SC] ChangeServiceConfig réussite(s)"_s));
    return 0;
}

int start(const QString& service, const ToolOutput& output)
{
    if (!isElevated())
        return fail(output, u"StartService: OpenService"_s, accessDenied);
    const auto startNumber = startOf(service);
    if (!startNumber)
        return fail(output, u"StartService: OpenService"_s, serviceDoesNotExist);
    const int code = Calls::run(Call{u"services.start"_s, {service}}, [&](QJsonObject& document) {
        if (*startNumber == startDisabled)
            return serviceDisabled;
        QJsonArray running = document.value("running"_L1).toArray();
        if (running.contains(service))
            return alreadyRunning;
        running.append(service);
        document.insert("running"_L1, running);
        return 0;
    });
    if (code != 0)
        return fail(output, u"StartService"_s, code);
    output.line();
    output.line(u"SERVICE_NAME: %1 "_s.arg(service));
    for (const QLatin1String line :
         {"        TYPE               : 10  WIN32_OWN_PROCESS  "_L1,
          "        STATE              : 2  START_PENDING "_L1,
          "                                (NOT_STOPPABLE, NOT_PAUSABLE, IGNORES_SHUTDOWN)"_L1,
          "        WIN32_EXIT_CODE    : 0  (0x0)"_L1, "        SERVICE_EXIT_CODE  : 0  (0x0)"_L1,
          "        CHECKPOINT         : 0x0"_L1, "        WAIT_HINT          : 0x7d0"_L1,
          "        PID                : 4212"_L1, "        FLAGS              : "_L1})
        output.line(line);
    return 0;
}

} // namespace

/// sc.exe config NAME start= TYPE, and sc.exe start NAME. What runs is listed in the document of "services".
int runServiceControl(const ToolRun& run)
{
    const QStringList& arguments = run.arguments;
    const QString verb = arguments.value(0).toLower();
    if (verb == u"config" && arguments.size() == 4 && arguments[2] == u"start=")
        return config(arguments[1], arguments[3], run.output);
    if (verb == u"start" && arguments.size() == 2)
        return start(arguments[1], run.output);
    return failUnknown(u"sc.exe"_s, run);
}

} // namespace torvelane::platform::simulated
