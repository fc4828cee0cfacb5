#include "platform/simulated/registry/RegistryPath.h"

#include <QStringList>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

struct RootName {
    RootKey root;
    QStringView shortName;
    QStringView longName;
};

constexpr std::array rootNames = {
    RootName{RootKey::LocalMachine, u"HKLM", u"HKEY_LOCAL_MACHINE"},
    RootName{RootKey::CurrentUser, u"HKCU", u"HKEY_CURRENT_USER"},
    RootName{RootKey::ClassesRoot, u"HKCR", u"HKEY_CLASSES_ROOT"},
    RootName{RootKey::Users, u"HKU", u"HKEY_USERS"},
};

const RootName& rootName(RootKey root)
{
    return *std::ranges::find(rootNames, root, &RootName::root);
}

bool equals(QStringView a, QStringView b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

/// Extra backslashes inside and at the end carry no meaning.
QList<QStringView> components(QStringView path)
{
    return path.split(u'\\', Qt::SkipEmptyParts);
}

QString joined(QStringView root, const QList<QStringView>& parts, qsizetype from = 0)
{
    QString path = root.toString();
    for (qsizetype i = from; i < parts.size(); ++i) {
        path += u'\\';
        path += parts[i];
    }
    return path;
}

} // namespace

QString folded(QStringView name)
{
    QString result(name.size(), Qt::Uninitialized);
    std::ranges::transform(name, result.begin(), [](QChar c) { return c.toUpper(); });
    return result;
}

bool isSameOrBelow(QStringView path, QStringView ancestor)
{
    return path.startsWith(ancestor) && (path.size() == ancestor.size() || path[ancestor.size()] == u'\\');
}

QStringView parentPath(QStringView path)
{
    const qsizetype separator = path.lastIndexOf(u'\\');
    return separator < 0 ? QStringView() : path.first(separator);
}

QStringView leafName(QStringView path)
{
    return path.sliced(path.lastIndexOf(u'\\') + 1);
}

std::optional<KeyName> parseKeyName(const QString& text)
{
    const qsizetype separator = text.indexOf(u'\\');
    const QStringView root = separator < 0 ? QStringView(text) : QStringView(text).first(separator);
    const auto found = std::ranges::find_if(rootNames, [root](const RootName& name) {
        return equals(root, name.shortName) || equals(root, name.longName);
    });
    if (found == rootNames.end())
        return std::nullopt;
    return KeyName{found->root, separator < 0 ? QString() : text.sliced(separator + 1)};
}

QString longKeyName(const KeyName& key)
{
    return joined(rootName(key.root).longName, components(key.path));
}

QString storedPath(RootKey root, const QString& path, const QString& userSid)
{
    const QList<QStringView> parts = components(path);
    switch (root) {
    case RootKey::LocalMachine:
        return joined(u"HKLM", parts);
    case RootKey::CurrentUser:
        return joined(u"HKCU", parts);
    case RootKey::Users:
        return !parts.isEmpty() && equals(parts[0], userSid) ? joined(u"HKCU", parts, 1) : joined(u"HKU", parts);
    case RootKey::ClassesRoot:
        return joined(u"HKLM\\SOFTWARE\\Classes", parts);
    case RootKey::CurrentConfig:
        return joined(u"HKCC", parts);
    }
    Q_UNREACHABLE();
}

Win32Error checkKeyPath(RootKey root, const QString& path)
{
    if (path.contains(QChar::Null))
        return Win32Error::InvalidParameter;
    // Windows lets a leading backslash pass below HKCR only.
    if (path.startsWith(u'\\') && root != RootKey::ClassesRoot)
        return Win32Error::BadPathname;
    const bool tooLong =
        std::ranges::any_of(components(path), [](QStringView part) { return part.size() > maxKeyNameLength; });
    return tooLong ? Win32Error::InvalidParameter : Win32Error::Success;
}

Win32Error checkValueName(const QString& name)
{
    return name.contains(QChar::Null) || name.size() > maxValueNameLength ? Win32Error::InvalidParameter
                                                                          : Win32Error::Success;
}

} // namespace torvelane::platform::simulated
