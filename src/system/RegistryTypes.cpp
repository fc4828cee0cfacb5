#include "system/RegistryTypes.h"

#include <array>

namespace torvelane {

namespace {

struct HiveNames {
    RegistryHive hive;
    QLatin1String shortName;
    QLatin1String longName;
};

constexpr std::array hiveTable{
    HiveNames{RegistryHive::LocalMachine, QLatin1String("HKLM"), QLatin1String("HKEY_LOCAL_MACHINE")},
    HiveNames{RegistryHive::CurrentUser, QLatin1String("HKCU"), QLatin1String("HKEY_CURRENT_USER")},
    HiveNames{RegistryHive::ClassesRoot, QLatin1String("HKCR"), QLatin1String("HKEY_CLASSES_ROOT")},
    HiveNames{RegistryHive::Users, QLatin1String("HKU"), QLatin1String("HKEY_USERS")},
    HiveNames{RegistryHive::CurrentConfig, QLatin1String("HKCC"), QLatin1String("HKEY_CURRENT_CONFIG")},
};

struct KindName {
    RegistryValueKind kind;
    QLatin1String name;
};

/// The first row of a kind is the name that is written.
constexpr std::array kindTable{
    KindName{RegistryValueKind::Dword, QLatin1String("dword")},
    KindName{RegistryValueKind::Qword, QLatin1String("qword")},
    KindName{RegistryValueKind::Sz, QLatin1String("sz")},
    KindName{RegistryValueKind::ExpandSz, QLatin1String("expand_sz")},
    KindName{RegistryValueKind::ExpandSz, QLatin1String("expandsz")},
    KindName{RegistryValueKind::Binary, QLatin1String("binary")},
};

} // namespace

RegistryHive parseHive(const QString& text, bool* ok)
{
    const QString name = text.trimmed().toUpper();
    for (const HiveNames& row : hiveTable) {
        if (name == row.shortName || name == row.longName) {
            if (ok)
                *ok = true;
            return row.hive;
        }
    }
    if (ok)
        *ok = false;
    return RegistryHive::CurrentUser;
}

QString hiveName(RegistryHive hive)
{
    for (const HiveNames& row : hiveTable) {
        if (row.hive == hive)
            return row.shortName;
    }
    return QStringLiteral("HKCU");
}

QString longHiveName(RegistryHive hive)
{
    for (const HiveNames& row : hiveTable) {
        if (row.hive == hive)
            return row.longName;
    }
    return QStringLiteral("HKEY_CURRENT_USER");
}

RegistryValueKind parseValueKind(const QString& text)
{
    const QString name = text.trimmed().toLower();
    for (const KindName& row : kindTable) {
        if (name == row.name)
            return row.kind;
    }
    return RegistryValueKind::None;
}

QString valueKindName(RegistryValueKind kind)
{
    for (const KindName& row : kindTable) {
        if (row.kind == kind)
            return row.name;
    }
    return QStringLiteral("none");
}

} // namespace torvelane
