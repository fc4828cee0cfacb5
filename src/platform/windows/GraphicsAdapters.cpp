#include "platform/GraphicsAdapters.h"

#include "platform/windows/Owners.h"

#include <dxgi.h>

namespace torvelane::platform {

namespace {

template <typename Interface>
struct ComTraits : ResourceOf<Interface*> {
    static void close(Interface* object) { object->Release(); }
};

struct LibraryTraits : ResourceOf<HMODULE> {
    static void close(HMODULE library) { FreeLibrary(library); }
};

using CreateFactory = HRESULT(WINAPI*)(REFIID, void**);

} // namespace

HResult listGraphicsAdapters(QList<GraphicsAdapter>& out)
{
    out.clear();
    // Not linked: a machine without DXGI still starts the program.
    const Owner<LibraryTraits> library(LoadLibraryExW(L"dxgi.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    const auto create = library
        ? reinterpret_cast<CreateFactory>(reinterpret_cast<void*>(GetProcAddress(library.get(), "CreateDXGIFactory1")))
        : nullptr;
    if (!create)
        return static_cast<HResult>(HRESULT_FROM_WIN32(GetLastError()));

    Owner<ComTraits<IDXGIFactory1>> factory;
    const HRESULT created = create(__uuidof(IDXGIFactory1), reinterpret_cast<void**>(factory.put()));
    if (FAILED(created) || !factory)
        return static_cast<HResult>(FAILED(created) ? created : E_POINTER);
    for (UINT index = 0;; ++index) {
        Owner<ComTraits<IDXGIAdapter1>> adapter;
        if (FAILED(factory.get()->EnumAdapters1(index, adapter.put())) || !adapter)
            break;
        DXGI_ADAPTER_DESC1 description{};
        if (FAILED(adapter.get()->GetDesc1(&description)))
            continue;
        out.append({QString::fromWCharArray(description.Description), description.VendorId, description.DeviceId,
                    description.DedicatedVideoMemory, description.SharedSystemMemory, description.Flags});
    }
    return HResult::Ok;
}

} // namespace torvelane::platform
