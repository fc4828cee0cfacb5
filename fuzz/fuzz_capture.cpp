#include "FuzzMachine.h"
#include "system/RegistryAccess.h"
#include "system/RegistryJson.h"
#include "tweaks/RegistryTweak.h"

#include <QJsonDocument>

using namespace torvelane;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::prepareMachine();
    return 0;
}

/// A capture is the record in state.db of the machine before a change. Its values are restored, and restoring them
/// again is safe.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QJsonObject capture = QJsonDocument::fromJson(fuzz::bytesOf(data, size)).object();
    const bool restored = RegistryTweak::revertCapture(capture, nullptr).ok;
    fuzz::require(RegistryTweak::revertCapture(capture, nullptr).ok == restored);

    const QJsonObject last = capture.value(QStringLiteral("entries")).toArray().last().toObject();
    const RegistryValue wanted = valueFromJson(last);
    if (restored && wanted.exists && wanted.kind == RegistryValueKind::Binary) {
        RegistryValue found;
        const RegistryHive hive = parseHive(last.value(QStringLiteral("hive")).toString(), nullptr);
        fuzz::require(readValue(hive, last.value(QStringLiteral("path")).toString(),
                                last.value(QStringLiteral("name")).toString(), found));
        fuzz::require(found.exists && found.bytes == wanted.bytes);
    }
    return 0;
}
