#pragma once

#include <QString>

#include <memory>

#include <windows.h>

/// Owners of the system's resources. Nothing here leaves src/platform/windows.
namespace torvelane::platform {

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/// Owner of a HANDLE. Calls that report failure as INVALID_HANDLE_VALUE go through ownFile.
using OwnedHandle = std::unique_ptr<void, HandleCloser>;

[[nodiscard]] inline OwnedHandle ownFile(HANDLE handle)
{
    return OwnedHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

struct LocalFreer {
    void operator()(void* memory) const { LocalFree(memory); }
};

/// Owner of what a call allocated and LocalFree has to free.
template <typename Type>
using OwnedLocal = std::unique_ptr<Type, LocalFreer>;

/// The text as the system's calls take it; valid as long as `text` is and doesn't change.
[[nodiscard]] inline const wchar_t* wide(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

} // namespace torvelane::platform
