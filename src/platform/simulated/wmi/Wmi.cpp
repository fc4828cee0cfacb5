#include "platform/Wmi.h"

#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/wmi/SimulatedCom.h"
#include "platform/simulated/wmi/SystemRestore.h"
#include "platform/simulated/wmi/WmiDocument.h"

using namespace Qt::StringLiterals;

namespace torvelane::platform {

using namespace simulated;

namespace {

constexpr HResult notInitialized{static_cast<qint32>(0x800401f0)};   // CO_E_NOTINITIALIZED
constexpr HResult invalidNamespace{static_cast<qint32>(0x8004100e)}; // WBEM_E_INVALID_NAMESPACE
constexpr HResult invalidQuery{static_cast<qint32>(0x80041017)};     // WBEM_E_INVALID_QUERY
constexpr HResult notFound{static_cast<qint32>(0x80041002)};         // WBEM_E_NOT_FOUND
constexpr HResult noInterface{static_cast<qint32>(0x80004002)};      // E_NOINTERFACE

struct Apartment {
    int references = 0;
    bool isSingleThreaded = false;
};

thread_local Apartment apartment;

/// A call that has nothing to look up, and of which only faults are of interest.
HResult plainCall(const QString& name, const QStringList& arguments, HResult answer)
{
    return Calls::query(
        Call{name, arguments}, [answer](const QJsonObject&) { return answer; }, Calls::Recorded::No);
}

QString shown(const WmiProperty& argument)
{
    const WmiValue& value = argument.value;
    return argument.name % u'='
        % (value.type == vtBstr ? value.text : QString::number(static_cast<qint32>(value.bits)));
}

} // namespace

int SimulatedCom::references()
{
    return apartment.references;
}

void SimulatedCom::enterSingleThreadedApartment()
{
    apartment = {.references = apartment.references + 1, .isSingleThreaded = true};
}

void SimulatedCom::leaveSingleThreadedApartment()
{
    apartment = {.references = apartment.references - 1, .isSingleThreaded = false};
}

struct WmiConnection::Private {
    bool ownsComReference = false;
    bool hasLocator = false;
    QString connectedTo; ///< Empty without a namespace.
};

WmiConnection::WmiConnection() : d(std::make_unique<Private>()) { }

WmiConnection::~WmiConnection()
{
    if (d->ownsComReference)
        --apartment.references;
}

HResult WmiConnection::initializeCom()
{
    HResult answer = apartment.references > 0 ? HResult::False : HResult::Ok;
    if (apartment.isSingleThreaded)
        answer = HResult::RpcChangedMode;
    answer = plainCall(u"wmi.initializeCom"_s, {}, answer);
    if (!failed(answer) && !d->ownsComReference) {
        d->ownsComReference = true;
        ++apartment.references;
    }
    return answer;
}

HResult WmiConnection::initializeSecurity()
{
    return plainCall(u"wmi.initializeSecurity"_s, {}, HResult::Ok);
}

HResult WmiConnection::createLocator()
{
    const HResult answer =
        plainCall(u"wmi.createLocator"_s, {}, apartment.references > 0 ? HResult::Ok : notInitialized);
    d->hasLocator = !failed(answer);
    return answer;
}

HResult WmiConnection::connectServer(const QString& namespacePath)
{
    Q_ASSERT(d->hasLocator);
    return Calls::query(Call{u"wmi.connectServer"_s, {namespacePath}}, [&](const QJsonObject& document) {
        d->connectedTo = spelledKey(document.value("namespaces"_L1).toObject(), namespacePath);
        return d->connectedTo.isEmpty() ? invalidNamespace : HResult::Ok;
    });
}

bool WmiConnection::hasServices() const
{
    return !d->connectedTo.isEmpty();
}

HResult WmiConnection::setProxyBlanket()
{
    return plainCall(u"wmi.setProxyBlanket"_s, {d->connectedTo}, hasServices() ? HResult::Ok : noInterface);
}

WmiQueryResult WmiConnection::query(const QString& wql)
{
    WmiQueryResult result;
    result.code = Calls::query(Call{u"wmi.execQuery"_s, {d->connectedTo, wql}}, [&](const QJsonObject& document) {
        const auto select = parseWql(wql);
        if (!select)
            return invalidQuery;
        // Of a class that isn't there the system speaks with the first row only, which nobody asks for the reason.
        for (const QJsonValue& row : rowsOf(document, d->connectedTo, select->className).value_or(QJsonArray()))
            result.objects.append(toWmiObject(row.toObject(), select->columns));
        result.hasEnumerator = true;
        return HResult::Ok;
    });
    return result;
}

WmiMethodResult WmiConnection::callMethod(const QString& className, const QString& method,
                                          const QList<WmiProperty>& arguments)
{
    using Stage = WmiMethodStage;

    if (!hasServices())
        return {};
    // The stage that is under way. A fault that lays down a success stands for a call that succeeds and gives no object.
    WmiMethodResult result{.stage = Stage::Class};
    result.code = Calls::query(
        Call{u"wmi.getObject"_s, {d->connectedTo, className}},
        [&](const QJsonObject& document) {
            const bool isThere = rowsOf(document, d->connectedTo, className).has_value();
            result.stage = isThere ? Stage::Method : Stage::Class;
            return isThere ? HResult::Ok : notFound;
        },
        Calls::Recorded::No);
    const auto pass = [&](Stage at, Stage next, const QString& name) {
        if (result.stage != at)
            return;
        result.code = Calls::query(
            Call{name, {className, method}},
            [&](const QJsonObject&) {
                result.stage = next;
                return HResult::Ok;
            },
            Calls::Recorded::No);
    };
    pass(Stage::Method, Stage::Instance, u"wmi.getMethod"_s);
    pass(Stage::Instance, Stage::Call, u"wmi.spawnInstance"_s);
    if (result.stage != Stage::Call)
        return result;

    QStringList shownCall{className, method};
    for (const WmiProperty& argument : arguments)
        shownCall << shown(argument);
    const RestoreConditions conditions = restoreConditions();
    qint32 returned = 0;
    result.code = Calls::run(Call{u"wmi.execMethod"_s, shownCall}, [&](QJsonObject& document) {
        const HResult code = className == u"SystemRestore"
            ? callSystemRestore(document, conditions, method, arguments, returned)
            : notFound;
        result.stage = failed(code) ? Stage::Call : Stage::Result;
        return code;
    });
    if (failed(result.code))
        result.stage = Stage::Call;
    pass(Stage::Result, Stage::Done, u"wmi.getReturnValue"_s);
    if (result.stage == Stage::Done)
        result.returnValue = {.type = vtI4, .bits = static_cast<quint32>(returned)};
    return result;
}

} // namespace torvelane::platform
