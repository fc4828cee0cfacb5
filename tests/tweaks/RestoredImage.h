#pragma once

#include "platform/Registry.h"
#include "support/TestMachine.h"

namespace torvelane::test {

/// The bytes that the registry layer puts back for a value that it has read: numbers of their full size (a short one
/// counts as 0), texts with one terminator, and every type that it has no kind for as REG_BINARY.
[[nodiscard]] inline MachineValue asRestored(MachineValue value)
{
    switch (value.type) {
    case platform::regDword:
    case platform::regQword: {
        const qsizetype sizeBytes = value.type == platform::regDword ? 4 : 8;
        value.data = value.data.size() < sizeBytes ? QByteArray(sizeBytes, '\0') : value.data.first(sizeBytes);
        break;
    }
    case platform::regSz:
    case platform::regExpandSz:
        value.data.truncate(value.data.size() / 2 * 2);
        while (value.data.endsWith(QByteArray(2, '\0')))
            value.data.chop(2);
        value.data.append(2, '\0');
        break;
    default:
        value.type = platform::regBinary;
        break;
    }
    return value;
}

/// The machine from before tweaks were applied as their restore leaves it. What they leave alone keeps its bytes.
[[nodiscard]] inline MachineImage asRestored(MachineImage before, const MachineImage& applied)
{
    for (MachineValue& value : before) {
        const MachineValue restored = asRestored(value);
        if (restored != value && !applied.contains(value))
            value = restored;
    }
    return before;
}

} // namespace torvelane::test
