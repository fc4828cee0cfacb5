#include "FuzzMachine.h"
#include "core/Paths.h"
#include "optimizers/AppOptimizer.h"
#include "optimizers/BufferbloatOptimizer.h"
#include "optimizers/GamingMode.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/PowerPlanManager.h"
#include "optimizers/ServiceProfiles.h"

#include <QDir>

#include <array>

using namespace torvelane;

namespace {

struct Kind {
    const char* fileName;
    void (*restore)();
};

/// Each restores what the file says, and then nothing is left to restore.
constexpr std::array kinds{
    Kind{"network_opt.json",
         [] {
             NetworkOptimizer optimizer;
             std::ignore = optimizer.restoreAll();
             fuzz::require(!optimizer.hasSnapshots() && !NetworkOptimizer().hasSnapshots());
         }},
    Kind{"bufferbloat_opt.json",
         [] {
             std::ignore = BufferbloatOptimizer().restoreAll();
             fuzz::require(BufferbloatOptimizer().snapshotCount() == 0);
         }},
    Kind{"services_profile.json",
         [] {
             std::ignore = ServiceProfiles().restoreDefaults();
             fuzz::require(!ServiceProfiles().hasSnapshot());
         }},
    Kind{"app_optimize.json",
         [] {
             AppOptimizer optimizer;
             const auto programs = optimizer.list();
             for (const auto& program : programs)
                 std::ignore = optimizer.restore(program.first);
         }},
    Kind{"gaming_mode.json",
         [] {
             std::ignore = GamingMode::deactivate();
             fuzz::require(!GamingMode::isActive());
         }},
    Kind{"cpu_perf.json",
         [] {
             std::ignore = PowerPlanManager::restoreCpu();
             fuzz::require(!PowerPlanManager::isMaxCpuApplied());
         }},
    Kind{"disk_perf.json",
         [] {
             std::ignore = PowerPlanManager::restoreDisk();
             fuzz::require(!PowerPlanManager::isMaxDiskApplied());
         }},
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::prepareMachine();
    return 0;
}

/// One optimiser's snapshot: a digit that says whose, and the file's bytes. Tools can't be started here.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const Kind& kind = kinds[*data % kinds.size()];
    fuzz::replaceContent(QDir(Paths::dataDir()).filePath(QLatin1String(kind.fileName)),
                         fuzz::bytesOf(data + 1, size - 1));
    kind.restore();
    return 0;
}
