#include "FuzzMachine.h"
#include "optimizers/PowercfgOutput.h"
#include "platform/ConsoleText.h"

using namespace torvelane;

/// What powercfg.exe writes, cut or garbled anywhere. Whatever is read out of it stands in it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = platform::decodeConsoleText(fuzz::bytesOf(data, size));
    const QString lower = text.toLower();
    const QString first = PowercfgOutput::firstGuid(text);
    fuzz::require(first.isEmpty() || (first.size() == 36 && lower.contains(first)));

    const QList<PowerPlan> plans = PowercfgOutput::plans(text);
    for (const PowerPlan& plan : plans) {
        fuzz::require(plan.guid.size() == 36 && lower.contains(plan.guid));
        fuzz::require(text.contains(plan.name) && !plan.name.contains(QLatin1Char(')')));
        fuzz::require(!plan.active || text.contains(QLatin1Char('*')));
    }
    fuzz::require(plans.isEmpty() || !first.isEmpty());

    const PowerSettingValue value = PowercfgOutput::settingValue(text);
    fuzz::require((value.ac == -1 && value.dc == -1) || lower.count(QLatin1String("0x")) >= 2);
    return 0;
}
