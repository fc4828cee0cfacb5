#pragma once

#include <QString>

#include <utility>

#include <windows.h>

#include <combaseapi.h>

/// Owners of the system's resources. Nothing here leaves src/platform/windows.
namespace torvelane::platform {

/// The base of an owner's traits: the type of the resource, and the value for none. Each kind of resource
/// adds its way of closing, and its value for none where that isn't zero.
template <typename Type>
struct ResourceOf {
    using Value = Type;
    static Value none() { return Value{}; }
    static bool isNone(const Value& value) { return value == none(); }
};

/// Sole owner of one resource of the system, which is closed when the owner goes. Movable, never copied; one owner
/// belongs to one thread at a time.
template <typename Traits>
class Owner {
public:
    using Value = typename Traits::Value;

    Owner() = default;
    explicit Owner(Value value) : m_value(value) { }
    ~Owner() { reset(); }
    Owner(Owner&& other) noexcept : m_value(other.release()) { }
    Owner& operator=(Owner&& other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    [[nodiscard]] explicit operator bool() const { return !Traits::isNone(m_value); }
    [[nodiscard]] Value get() const { return m_value; }

    /// For a call that stores a new resource through a pointer; the old one is closed first.
    [[nodiscard]] Value* put()
    {
        reset();
        return &m_value;
    }

    [[nodiscard]] Value release() { return std::exchange(m_value, Traits::none()); }

    void reset(Value value = Traits::none())
    {
        if (!Traits::isNone(m_value))
            Traits::close(m_value);
        m_value = value;
    }

private:
    Value m_value = Traits::none();
};

struct HandleTraits : ResourceOf<HANDLE> {
    static void close(HANDLE handle) { CloseHandle(handle); }
};

/// A file, process, token, job or event. Calls that report failure as INVALID_HANDLE_VALUE go through ownFile.
using OwnedHandle = Owner<HandleTraits>;

[[nodiscard]] inline OwnedHandle ownFile(HANDLE handle)
{
    return OwnedHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

template <typename Type>
struct LocalTraits : ResourceOf<Type*> {
    static void close(Type* memory) { LocalFree(memory); }
};

/// Memory that a call allocated and LocalFree has to free.
template <typename Type>
using OwnedLocal = Owner<LocalTraits<Type>>;

template <typename Type>
struct TaskMemoryTraits : ResourceOf<Type*> {
    static void close(Type* memory) { CoTaskMemFree(memory); }
};

/// Memory that a call of COM or the shell allocated and CoTaskMemFree has to free.
template <typename Type>
using OwnedTaskMemory = Owner<TaskMemoryTraits<Type>>;

struct EnvironmentTraits : ResourceOf<wchar_t*> {
    static void close(wchar_t* block) { FreeEnvironmentStringsW(block); }
};

/// A copy of the environment, as GetEnvironmentStringsW gives it.
using OwnedEnvironment = Owner<EnvironmentTraits>;

/// The text as the system's calls take it; valid as long as `text` is and doesn't change.
[[nodiscard]] inline const wchar_t* wide(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

} // namespace torvelane::platform
