#include "platform/Registry.h"

#include "platform/windows/Owners.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace torvelane::platform {

namespace {

static_assert(ERROR_SUCCESS == toNumber(Win32Error::Success)
              && ERROR_FILE_NOT_FOUND == toNumber(Win32Error::FileNotFound)
              && ERROR_ACCESS_DENIED == toNumber(Win32Error::AccessDenied)
              && ERROR_INVALID_HANDLE == toNumber(Win32Error::InvalidHandle)
              && ERROR_WRITE_FAULT == toNumber(Win32Error::WriteFault)
              && ERROR_INVALID_PARAMETER == toNumber(Win32Error::InvalidParameter)
              && ERROR_MORE_DATA == toNumber(Win32Error::MoreData));
static_assert(REG_NONE == regNone && REG_SZ == regSz && REG_EXPAND_SZ == regExpandSz && REG_BINARY == regBinary
              && REG_DWORD == regDword && REG_MULTI_SZ == regMultiSz && REG_QWORD == regQword);

// Documented limits, without the terminator:
// https://learn.microsoft.com/windows/win32/sysinfo/registry-element-size-limits
constexpr DWORD maximumKeyNameLength = 255;
constexpr DWORD maximumValueNameLength = 16383;

HKEY systemRoot(RootKey root)
{
    switch (root) {
    case RootKey::LocalMachine:
        return HKEY_LOCAL_MACHINE;
    case RootKey::CurrentUser:
        return HKEY_CURRENT_USER;
    case RootKey::ClassesRoot:
        return HKEY_CLASSES_ROOT;
    case RootKey::Users:
        return HKEY_USERS;
    case RootKey::CurrentConfig:
        return HKEY_CURRENT_CONFIG;
    }
    return HKEY_CURRENT_USER;
}

HKEY keyOf(void* handle)
{
    return static_cast<HKEY>(handle);
}

Win32Error codeOf(LSTATUS status)
{
    return static_cast<Win32Error>(status);
}

// The system reads up to the first NUL and would address another key or value than the one that was named.
bool isCutShort(const QString& text)
{
    return text.contains(QChar(u'\0'));
}

// RegEnumKeyExW and RegEnumValueW in one shape: `next` is called with a running index, a buffer and its length.
template <typename Next>
Win32Error enumerate(DWORD maximumLength, QStringList& out, Next next)
{
    out.clear();
    std::vector<wchar_t> name(maximumLength + 1);
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(name.size());
        const LSTATUS status = next(index, name.data(), &length);
        if (status == ERROR_NO_MORE_ITEMS)
            return Win32Error::Success;
        if (status != ERROR_SUCCESS) {
            out.clear();
            return codeOf(status);
        }
        out.append(QString::fromWCharArray(name.data(), static_cast<qsizetype>(length)));
    }
}

} // namespace

RegistryKey::~RegistryKey()
{
    close();
}

RegistryKey::RegistryKey(RegistryKey&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) { }

RegistryKey& RegistryKey::operator=(RegistryKey&& other) noexcept
{
    if (this != &other) {
        close();
        m_handle = std::exchange(other.m_handle, nullptr);
    }
    return *this;
}

void RegistryKey::close()
{
    if (m_handle)
        RegCloseKey(keyOf(std::exchange(m_handle, nullptr)));
}

Win32Error RegistryKey::open(RootKey root, const QString& path, KeyAccess access, RegistryKey& out)
{
    out.close();
    if (isCutShort(path))
        return Win32Error::InvalidParameter;
    const REGSAM rights = access == KeyAccess::Read ? KEY_READ : KEY_SET_VALUE;
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(systemRoot(root), wide(path), 0, rights, &key);
    if (status == ERROR_SUCCESS)
        out.m_handle = key;
    return codeOf(status);
}

Win32Error RegistryKey::create(RootKey root, const QString& path, RegistryKey& out)
{
    out.close();
    if (isCutShort(path))
        return Win32Error::InvalidParameter;
    HKEY key = nullptr;
    const LSTATUS status = RegCreateKeyExW(systemRoot(root), wide(path), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                           KEY_SET_VALUE, nullptr, &key, nullptr);
    if (status == ERROR_SUCCESS)
        out.m_handle = key;
    return codeOf(status);
}

Win32Error RegistryKey::querySize(const QString& name, quint32& type, quint32& sizeBytes) const
{
    if (isCutShort(name))
        return Win32Error::InvalidParameter;
    DWORD systemType = REG_NONE;
    DWORD size = 0;
    const LSTATUS status = RegQueryValueExW(keyOf(m_handle), wide(name), nullptr, &systemType, nullptr, &size);
    type = systemType;
    sizeBytes = size;
    return codeOf(status);
}

Win32Error RegistryKey::query(const QString& name, std::span<std::byte> buffer, quint32& type, quint32& sizeBytes) const
{
    if (isCutShort(name))
        return Win32Error::InvalidParameter;
    // Without a buffer the call only returns the size, and succeeds whatever the size is.
    BYTE none = 0;
    BYTE* const data = buffer.empty() ? &none : reinterpret_cast<BYTE*>(buffer.data());
    auto size = static_cast<DWORD>(std::min<std::size_t>(buffer.size(), std::numeric_limits<DWORD>::max()));
    DWORD systemType = REG_NONE;
    const LSTATUS status = RegQueryValueExW(keyOf(m_handle), wide(name), nullptr, &systemType, data, &size);
    type = systemType;
    sizeBytes = size;
    return codeOf(status);
}

Win32Error RegistryKey::setValue(const QString& name, quint32 type, std::span<const std::byte> data)
{
    if (isCutShort(name) || data.size() > std::numeric_limits<DWORD>::max())
        return Win32Error::InvalidParameter;
    // Where a text doesn't end in a NUL the call looks behind it, and stores one more character if a NUL happens to
    // lie there. Behind this copy none does, so that the bytes are stored as they are.
    std::vector<std::byte> guarded;
    if (type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ) {
        guarded.assign(data.begin(), data.end());
        guarded.insert(guarded.end(), sizeof(wchar_t), std::byte{0xff});
        data = std::span(guarded).first(data.size());
    }
    return codeOf(RegSetValueExW(keyOf(m_handle), wide(name), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                                 static_cast<DWORD>(data.size())));
}

Win32Error RegistryKey::deleteValue(const QString& name)
{
    if (isCutShort(name))
        return Win32Error::InvalidParameter;
    return codeOf(RegDeleteValueW(keyOf(m_handle), wide(name)));
}

Win32Error RegistryKey::subkeyNames(QStringList& out) const
{
    return enumerate(maximumKeyNameLength, out, [this](DWORD index, wchar_t* name, DWORD* length) {
        return RegEnumKeyExW(keyOf(m_handle), index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

Win32Error RegistryKey::valueNames(QStringList& out) const
{
    return enumerate(maximumValueNameLength, out, [this](DWORD index, wchar_t* name, DWORD* length) {
        return RegEnumValueW(keyOf(m_handle), index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

} // namespace torvelane::platform
