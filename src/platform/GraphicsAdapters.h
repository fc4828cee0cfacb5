#pragma once

#include "platform/HResult.h"

#include <QList>
#include <QString>

namespace torvelane::platform {

/// DXGI_ADAPTER_DESC1, as far as it is used. Sizes in bytes.
struct GraphicsAdapter {
    QString description;
    quint32 vendorId = 0;
    quint32 deviceId = 0;
    quint64 dedicatedVideoMemory = 0;
    quint64 sharedSystemMemory = 0;
    quint32 flags = 0; ///< DXGI_ADAPTER_FLAG
};

inline constexpr quint32 graphicsAdapterSoftware = 2; ///< DXGI_ADAPTER_FLAG_SOFTWARE

/// CreateDXGIFactory1, EnumAdapters1 and GetDesc1: the adapters in the system's order, without those that wouldn't say
/// what they are. Fails only if there is no factory, also on a machine without DXGI. Replaces `out`. Any thread; blocks
/// for as long as the drivers need.
/// https://learn.microsoft.com/windows/win32/api/dxgi/nf-dxgi-createdxgifactory1
[[nodiscard]] HResult listGraphicsAdapters(QList<GraphicsAdapter>& out);

} // namespace torvelane::platform
