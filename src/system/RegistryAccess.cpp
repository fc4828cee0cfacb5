#include "system/RegistryAccess.h"

#include "core/Log.h"
#include "platform/Registry.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace torvelane {

using platform::RegistryKey;
using platform::RootKey;
using platform::Win32Error;
using platform::Win32Error::FileNotFound;
using platform::Win32Error::Success;

namespace {

/// Values up to this size are read without a heap allocation; nearly all are.
constexpr std::size_t stackBufferSizeBytes = 256;

QString& hkcuUserSid()
{
    static QString sid;
    return sid;
}

struct ResolvedKey {
    RootKey root;
    QString subKey;
};

ResolvedKey resolveKey(RegistryHive hive, const QString& path)
{
    switch (hive) {
    case RegistryHive::LocalMachine:
        return {RootKey::LocalMachine, path};
    case RegistryHive::ClassesRoot:
        return {RootKey::ClassesRoot, path};
    case RegistryHive::Users:
        return {RootKey::Users, path};
    case RegistryHive::CurrentConfig:
        return {RootKey::CurrentConfig, path};
    case RegistryHive::CurrentUser:
        break;
    }
    if (!hkcuUserSid().isEmpty())
        return {RootKey::Users, hkcuUserSid() + QLatin1Char('\\') + path};
    return {RootKey::CurrentUser, path};
}

void logWarning(const QString& message)
{
    logMessage(LogLevel::Warn, QStringLiteral("registry"), message);
}

Win32Error createKey(RegistryHive hive, const QString& path, RegistryKey& out)
{
    const ResolvedKey key = resolveKey(hive, path);
    const Win32Error code = RegistryKey::create(key.root, key.subKey, out);
    if (code != Win32Error::Success) {
        logWarning(QStringLiteral("RegCreateKeyExW failed (%1) for %2\\%3")
                       .arg(QString::number(toNumber(code)), hiveName(hive), path));
    }
    return code;
}

/// The code of the set, or nothing if the key couldn't even be made (which has been logged).
[[nodiscard]] std::optional<Win32Error> setRawValue(RegistryHive hive, const QString& path, const QString& name,
                                                    quint32 type, std::span<const std::byte> data)
{
    RegistryKey key;
    if (createKey(hive, path, key) != Win32Error::Success)
        return std::nullopt;
    return key.setValue(name, type, data);
}

template <typename Integer>
Integer littleEndianOrZero(std::span<const std::byte> data)
{
    return data.size() >= sizeof(Integer) ? qFromLittleEndian<Integer>(data.data()) : 0;
}

/// Half the byte count in UTF-16 units, without trailing NUL units: a stored string may have none or several.
QString textOf(std::span<const std::byte> data)
{
    QString text(static_cast<qsizetype>(data.size() / sizeof(char16_t)), Qt::Uninitialized);
    std::memcpy(text.data(), data.data(), static_cast<std::size_t>(text.size()) * sizeof(char16_t));
    qsizetype length = text.size();
    while (length > 0 && text.at(length - 1).isNull())
        --length;
    text.truncate(length);
    return text;
}

RegistryValue valueFromRaw(quint32 type, std::span<const std::byte> data)
{
    RegistryValue value;
    value.exists = true;
    switch (type) {
    case platform::regSz:
    case platform::regExpandSz:
        value.kind = type == platform::regSz ? RegistryValueKind::Sz : RegistryValueKind::ExpandSz;
        value.text = textOf(data);
        break;
    case platform::regDword:
        value.kind = RegistryValueKind::Dword;
        value.number = littleEndianOrZero<quint32>(data);
        break;
    case platform::regQword:
        value.kind = RegistryValueKind::Qword;
        value.number = littleEndianOrZero<quint64>(data);
        break;
    default:
        value.kind = RegistryValueKind::Binary;
        value.bytes = QByteArray(reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size()));
        break;
    }
    return value;
}

} // namespace

bool readValue(RegistryHive hive, const QString& path, const QString& name, RegistryValue& out)
{
    out = RegistryValue();
    const ResolvedKey resolved = resolveKey(hive, path);
    RegistryKey key;
    Win32Error code = RegistryKey::open(resolved.root, resolved.subKey, platform::KeyAccess::Read, key);
    if (code == Win32Error::FileNotFound)
        return true;
    if (code != Win32Error::Success) {
        logWarning(QStringLiteral("RegOpenKeyExW failed (%1) for %2\\%3")
                       .arg(QString::number(toNumber(code)), hiveName(hive), path));
        return false;
    }

    quint32 type = platform::regNone;
    quint32 sizeBytes = 0;
    code = key.querySize(name, type, sizeBytes);
    if (code == Win32Error::FileNotFound)
        return true;
    if (code != Win32Error::Success) {
        logWarning(QStringLiteral("RegQueryValueExW size failed (%1)").arg(toNumber(code)));
        return false;
    }

    std::array<std::byte, stackBufferSizeBytes> stackBuffer;
    std::vector<std::byte> heapBuffer;
    std::span<std::byte> buffer(stackBuffer.data(), std::min<std::size_t>(sizeBytes, stackBuffer.size()));
    if (sizeBytes > stackBuffer.size()) {
        heapBuffer.resize(sizeBytes);
        buffer = heapBuffer;
    }
    code = key.query(name, buffer, type, sizeBytes);
    if (code != Win32Error::Success) {
        logWarning(QStringLiteral("RegQueryValueExW read failed (%1)").arg(toNumber(code)));
        return false;
    }
    out = valueFromRaw(type, buffer.first(std::min<std::size_t>(sizeBytes, buffer.size())));
    return true;
}

bool writeValue(RegistryHive hive, const QString& path, const QString& name, const RegistryValue& value)
{
    if (!value.exists)
        return deleteValue(hive, path, name);
    switch (value.kind) {
    case RegistryValueKind::None:
        return deleteValue(hive, path, name);
    case RegistryValueKind::Dword:
        return writeDword(hive, path, name, static_cast<quint32>(value.number));
    case RegistryValueKind::Qword:
        return writeQword(hive, path, name, value.number);
    case RegistryValueKind::Sz:
    case RegistryValueKind::ExpandSz:
        return writeString(hive, path, name, value.text, value.kind == RegistryValueKind::ExpandSz);
    case RegistryValueKind::Binary:
        return writeBinary(hive, path, name, value.bytes);
    }
    return false;
}

bool writeDword(RegistryHive hive, const QString& path, const QString& name, quint32 number)
{
    const quint32 stored = qToLittleEndian(number);
    const auto code = setRawValue(hive, path, name, platform::regDword, std::as_bytes(std::span(&stored, 1)));
    if (code && *code != Win32Error::Success) {
        logWarning(QStringLiteral("RegSetValueExW(DWORD) failed (%1) for %2\\%3 [%4]")
                       .arg(QString::number(toNumber(*code)), hiveName(hive), path, name));
    }
    return code == Win32Error::Success;
}

bool writeQword(RegistryHive hive, const QString& path, const QString& name, quint64 number)
{
    const quint64 stored = qToLittleEndian(number);
    return setRawValue(hive, path, name, platform::regQword, std::as_bytes(std::span(&stored, 1)))
        == Win32Error::Success;
}

bool writeString(RegistryHive hive, const QString& path, const QString& name, const QString& text, bool expand)
{
    // QString keeps a NUL behind its last unit: the terminator that is stored along.
    const std::span units(text.utf16(), static_cast<std::size_t>(text.size()) + 1);
    return setRawValue(hive, path, name, expand ? platform::regExpandSz : platform::regSz, std::as_bytes(units))
        == Win32Error::Success;
}

bool writeBinary(RegistryHive hive, const QString& path, const QString& name, const QByteArray& bytes)
{
    const std::span data(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return setRawValue(hive, path, name, platform::regBinary, std::as_bytes(data)) == Win32Error::Success;
}

bool deleteValue(RegistryHive hive, const QString& path, const QString& name)
{
    const ResolvedKey resolved = resolveKey(hive, path);
    RegistryKey key;
    Win32Error code = RegistryKey::open(resolved.root, resolved.subKey, platform::KeyAccess::SetValue, key);
    if (code == Win32Error::FileNotFound)
        return true;
    if (code != Win32Error::Success)
        return false;
    code = key.deleteValue(name);
    return code == Win32Error::Success || code == Win32Error::FileNotFound;
}

void setHkcuUserSid(const QString& sid)
{
    hkcuUserSid() = sid;
}

} // namespace torvelane
