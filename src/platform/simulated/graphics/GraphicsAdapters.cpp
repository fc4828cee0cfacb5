#include "platform/GraphicsAdapters.h"

#include "platform/simulated/calls/Calls.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace torvelane::platform {

namespace {

/// Ids stand in the document as hexadecimal text, sizes as numbers of bytes.
GraphicsAdapter adapterOf(const QJsonObject& adapter)
{
    return {adapter.value("description"_L1).toString(),
            adapter.value("vendorId"_L1).toString().toUInt(nullptr, 16),
            adapter.value("deviceId"_L1).toString().toUInt(nullptr, 16),
            static_cast<quint64>(adapter.value("dedicatedVideoMemory"_L1).toInteger()),
            static_cast<quint64>(adapter.value("sharedSystemMemory"_L1).toInteger()),
            static_cast<quint32>(adapter.value("flags"_L1).toInteger())};
}

} // namespace

/// The facility "graphics": "adapters".
HResult listGraphicsAdapters(QList<GraphicsAdapter>& out)
{
    out.clear();
    return simulated::Calls::query(Call{u"graphics.list"_s, {}}, [&out](const QJsonObject& document) {
        for (const QJsonValue& adapter : document.value("adapters"_L1).toArray())
            out.append(adapterOf(adapter.toObject()));
        return HResult::Ok;
    });
}

} // namespace torvelane::platform
