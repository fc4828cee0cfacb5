#include "platform/NetDevices.h"

#include "platform/simulated/calls/Calls.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace torvelane::platform {

using namespace simulated;

struct NetDeviceList::Private {
    QStringList instanceIds; ///< A null text for a device that won't say.
    quint32 current = 0;
};

NetDeviceList::NetDeviceList() : d(std::make_unique<Private>()) { }

NetDeviceList::~NetDeviceList() = default;

/// The facility "netDevices": "present" lists the instance ids, null for a device
/// that won't say its own. A restart changes nothing that is seen but for its record.
Win32Error NetDeviceList::open()
{
    return Calls::query(Call{u"netDevices.list"_s, {}}, [this](const QJsonObject& document) {
        d->instanceIds.clear();
        for (const QJsonValue& id : document.value("present"_L1).toArray())
            d->instanceIds.append(id.isString() ? id.toString() : QString());
        return Win32Error::Success;
    });
}

bool NetDeviceList::select(quint32 index)
{
    d->current = index;
    return index < static_cast<quint32>(d->instanceIds.size());
}

std::optional<QString> NetDeviceList::instanceId() const
{
    const QString id = d->instanceIds.value(d->current);
    return id.isNull() ? std::nullopt : std::optional(id);
}

Win32Error NetDeviceList::restart()
{
    const QString id = d->instanceIds.value(d->current);
    return Calls::run(Call{u"netDevices.restart"_s, {id}}, [](QJsonObject&) { return Win32Error::Success; });
}

} // namespace torvelane::platform
