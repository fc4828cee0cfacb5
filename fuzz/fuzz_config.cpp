#include "FuzzMachine.h"
#include "core/AppConfig.h"
#include "core/Paths.h"

using namespace torvelane;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::prepareMachine();
    return 0;
}

/// A configuration that was read, written and read again is still the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::replaceContent(Paths::configFile(), fuzz::bytesOf(data, size));
    AppConfig loaded;
    loaded.load();
    fuzz::require(loaded.save());
    AppConfig again;
    again.load();
    fuzz::require(again.autoStart == loaded.autoStart && again.heartbeatIntervalMs == loaded.heartbeatIntervalMs
                  && again.apiBaseUrl == loaded.apiBaseUrl && again.lastEmail == loaded.lastEmail);
    return 0;
}
