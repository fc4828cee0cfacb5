#include "platform/Wmi.h"

#include "platform/windows/ComOwners.h"

#include <utility>

#include <wbemidl.h>

namespace torvelane::platform {

namespace {

HResult toHResult(HRESULT result)
{
    return static_cast<HResult>(result);
}

QString textOf(BSTR text)
{
    return text ? QString::fromWCharArray(text, static_cast<qsizetype>(SysStringLen(text))) : QString();
}

WmiValue valueOf(const VARIANT& variant)
{
    WmiValue value;
    value.type = variant.vt;
    if (variant.vt == VT_BSTR)
        value.text = textOf(variant.bstrVal);
    else if (!(variant.vt & (VT_ARRAY | VT_BYREF)))
        value.bits = variant.ullVal;
    return value;
}

void assign(VARIANT& variant, const WmiValue& value)
{
    variant.vt = value.type;
    if (value.type == VT_BSTR)
        variant.bstrVal = ownBstr(value.text).release();
    else
        variant.ullVal = value.bits;
}

WmiObject propertiesOf(IWbemClassObject& object)
{
    WmiObject properties;
    if (FAILED(object.BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY)))
        return properties;
    for (;;) {
        OwnedBstr name;
        OwnedVariant value;
        if (object.Next(0, name.put(), value.address(), nullptr, nullptr) != WBEM_S_NO_ERROR)
            break;
        properties.append({textOf(name.get()), valueOf(value.get())});
    }
    object.EndEnumeration();
    return properties;
}

} // namespace

struct WmiConnection::Private {
    // The order of release is the reverse of this one.
    bool ownsComReference = false;
    OwnedCom<IWbemLocator> locator;
    OwnedCom<IWbemServices> services;

    ~Private()
    {
        services.reset();
        locator.reset();
        if (ownsComReference)
            CoUninitialize();
    }
};

WmiConnection::WmiConnection() : d(std::make_unique<Private>()) { }

WmiConnection::~WmiConnection() = default;

HResult WmiConnection::initializeCom()
{
    const HRESULT result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    // S_FALSE counts as well: COM was up on this thread, and now has one reference more.
    if (SUCCEEDED(result) && std::exchange(d->ownsComReference, true))
        CoUninitialize();
    return toHResult(result);
}

HResult WmiConnection::initializeSecurity()
{
    return toHResult(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                          RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr));
}

HResult WmiConnection::createLocator()
{
    return toHResult(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                      reinterpret_cast<void**>(d->locator.put())));
}

HResult WmiConnection::connectServer(const QString& namespacePath)
{
    return toHResult(d->locator.get()->ConnectServer(ownBstr(namespacePath).get(), nullptr, nullptr, nullptr, 0,
                                                     nullptr, nullptr, d->services.put()));
}

bool WmiConnection::hasServices() const
{
    return static_cast<bool>(d->services);
}

HResult WmiConnection::setProxyBlanket()
{
    return toHResult(CoSetProxyBlanket(d->services.get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                       RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE));
}

WmiQueryResult WmiConnection::query(const QString& wql)
{
    WmiQueryResult result;
    OwnedCom<IEnumWbemClassObject> enumerator;
    result.code = toHResult(d->services.get()->ExecQuery(ownBstr(QStringLiteral("WQL")).get(), ownBstr(wql).get(),
                                                         WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                                         enumerator.put()));
    result.hasEnumerator = static_cast<bool>(enumerator);
    if (failed(result.code) || !enumerator)
        return result;

    for (;;) {
        OwnedCom<IWbemClassObject> object;
        ULONG count = 0;
        const HRESULT next = enumerator.get()->Next(static_cast<LONG>(WBEM_INFINITE), 1, object.put(), &count);
        if (next != WBEM_S_NO_ERROR || !object || count == 0)
            break;
        result.objects.append(propertiesOf(*object.get()));
    }
    return result;
}

WmiMethodResult WmiConnection::callMethod(const QString& className, const QString& method,
                                          const QList<WmiProperty>& arguments)
{
    using enum WmiMethodStage;

    if (!d->services)
        return {Services, HResult::Ok, {}};
    // The order of release, output, input, signature, class, is the reverse of this one.
    const OwnedBstr classText = ownBstr(className);
    const OwnedBstr methodText = ownBstr(method);

    OwnedCom<IWbemClassObject> classObject;
    HRESULT result = d->services.get()->GetObject(classText.get(), 0, nullptr, classObject.put(), nullptr);
    if (FAILED(result) || !classObject)
        return {Class, toHResult(result), {}};

    OwnedCom<IWbemClassObject> signature;
    result = classObject.get()->GetMethod(methodText.get(), 0, signature.put(), nullptr);
    if (FAILED(result) || !signature)
        return {Method, toHResult(result), {}};

    OwnedCom<IWbemClassObject> input;
    result = signature.get()->SpawnInstance(0, input.put());
    if (FAILED(result) || !input)
        return {Instance, toHResult(result), {}};
    for (const WmiProperty& argument : arguments) {
        OwnedVariant value;
        assign(*value.address(), argument.value);
        // An argument that the method doesn't know is refused by the call itself.
        input.get()->Put(wide(argument.name), 0, value.address(), 0);
    }

    OwnedCom<IWbemClassObject> output;
    result = d->services.get()->ExecMethod(classText.get(), methodText.get(), 0, nullptr, input.get(), output.put(),
                                           nullptr);
    if (FAILED(result) || !output)
        return {Call, toHResult(result), {}};

    OwnedVariant returnValue;
    result = output.get()->Get(L"ReturnValue", 0, returnValue.address(), nullptr, nullptr);
    if (FAILED(result))
        return {Result, toHResult(result), {}};
    return {Done, toHResult(result), valueOf(returnValue.get())};
}

} // namespace torvelane::platform
