#include "measure/HardwareScanner.h"
#include "measure/SystemMetricsSampler.h"
#include "optimizers/AppOptimizer.h"
#include "optimizers/DebloatCleaner.h"
#include "optimizers/GameDetector.h"
#include "optimizers/GamingMode.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/PowerPlanManager.h"
#include "optimizers/ServiceProfiles.h"
#include "support/Suite.h"

#include <array>

/// Pages work at the same time, each on a worker of its own, while the GUI thread asks and samples. Above all for the
/// thread sanitizer. Without the disk's bundle: it is about the active plan, which Gaming Mode changes.
class tst_Workers : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void sideBySide()
    {
        const MachineImage before = TestMachine::image();
        const std::array<std::function<bool()>, 6> turns{
            [] {
                NetworkOptimizer optimizer;
                return optimizer.applyAll(listNetAdapters()).ok && optimizer.restoreAll().ok;
            },
            [] {
                ServiceProfiles profiles;
                return profiles.apply(ServiceProfileId::Advanced).count > 0 && profiles.restoreDefaults().count > 0;
            },
            [] {
                AppOptimizer optimizer;
                return optimizer.optimize(u"C:\\Games\\One.exe"_s).ok && optimizer.restore(u"one.exe"_s).ok;
            },
            [] { return GamingMode::activate().count == 20 && GamingMode::deactivate().count == 20; },
            [] { return HardwareScanner::scan().sections.size() == 7; },
            [] { return DebloatCleaner::scanSize(DebloatCleaner::categories().constFirst()) > 0; },
        };
        std::atomic_int succeeded = 0;
        std::atomic_int running = static_cast<int>(turns.size());
        {
            std::vector<std::jthread> workers;
            for (const std::function<bool()>& turn : turns) {
                workers.emplace_back([&turn, &succeeded, &running] {
                    succeeded += turn() && turn() ? 1 : 0;
                    --running;
                });
            }
            SystemMetricsSampler sampler;
            while (running > 0) {
                std::ignore = GamingMode::isActive();
                std::ignore = PowerPlanManager::isMaxDiskApplied();
                std::ignore = detectRunningGame();
                QVERIFY(sampler.cpuPercent() <= 100);
                QTest::qWait(5);
            }
        }
        QCOMPARE(succeeded, static_cast<int>(turns.size()));
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_Workers)
#include "tst_Workers.moc"
