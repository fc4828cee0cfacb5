#include "FuzzMachine.h"
#include "tweaks/TweakCatalog.h"

using namespace torvelane;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::prepareMachine();
    return 0;
}

/// A catalogue is compiled in; a damaged one must still do no more than lose entries.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    TweakCatalog catalog;
    std::ignore = catalog.loadFromJson(fuzz::bytesOf(data, size));
    const QList<TweakDefinition> definitions = catalog.definitions();
    for (const TweakDefinition& definition : definitions) {
        const auto tweak = catalog.implementation(definition.id);
        fuzz::require(tweak && !definition.id.isEmpty());
        bool ok = false;
        QString error;
        fuzz::require(tweak->capture(&ok, &error).isEmpty() != ok);
    }
    return 0;
}
