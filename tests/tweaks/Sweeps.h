#pragma once

#include "platform/Registry.h"
#include "support/TestMachine.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/TweakCatalog.h"

namespace torvelane::test {

/// The registry entries of the catalogue compiled in.
[[nodiscard]] inline QList<std::shared_ptr<RegistryTweak>> registryTweaks(TweakCatalog& catalog)
{
    QList<std::shared_ptr<RegistryTweak>> tweaks;
    if (!catalog.load(QStringLiteral(":/tweaks.json")))
        qFatal("The catalogue could not be loaded");
    for (const TweakDefinition& definition : catalog.definitions()) {
        if (auto tweak = std::dynamic_pointer_cast<RegistryTweak>(catalog.implementation(definition.id)))
            tweaks.append(std::move(tweak));
    }
    return tweaks;
}

/// The bytes that the registry layer puts back for a value that it has read: numbers of their full size (a short one
/// counts as 0), texts with one terminator, and every type that it has no kind for as REG_BINARY.
[[nodiscard]] inline MachineValue asRestored(MachineValue value)
{
    if (value.type == platform::regDword || value.type == platform::regQword) {
        const qsizetype sizeBytes = value.type == platform::regDword ? 4 : 8;
        value.data = value.data.size() < sizeBytes ? QByteArray(sizeBytes, '\0') : value.data.first(sizeBytes);
    } else if (value.type == platform::regSz || value.type == platform::regExpandSz) {
        value.data.truncate(value.data.size() / 2 * 2);
        while (value.data.endsWith(QByteArray(2, '\0')))
            value.data.chop(2);
        value.data.append(2, '\0');
    } else {
        value.type = platform::regBinary;
    }
    return value;
}

/// The machine from before tweaks were applied as their restore leaves it. Other values keep their bytes.
[[nodiscard]] inline MachineImage asRestored(MachineImage before, const MachineImage& applied)
{
    for (MachineValue& value : before.values) {
        const MachineValue restored = asRestored(value);
        if (restored != value && !applied.values.contains(value))
            value = restored;
    }
    return before;
}

} // namespace torvelane::test
