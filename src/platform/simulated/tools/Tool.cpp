#include "platform/simulated/tools/Tool.h"

#include "platform/simulated/calls/Calls.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {

const Tool* findTool(const QString& name)
{
    static const std::array tools = {
#define TOOL(fileName, function) Tool{QStringLiteral(fileName), function},
#include "platform/simulated/tools/Tools.def"
#undef TOOL
    };
    const auto found = std::ranges::find_if(tools, [&name](const Tool& tool) {
        return tool.fileName.compare(name, Qt::CaseInsensitive) == 0
            || tool.fileName.chopped(4).compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == tools.end() ? nullptr : &*found;
}

int runTool(const Tool& tool, const ToolRun& run)
{
    Calls::Running call({u"tools."_s + tool.fileName.chopped(4), run.arguments});
    const int exitCode = call.laidDown() ? static_cast<int>(*call.laidDown()) : tool.function(run);
    call.finish(exitCode);
    return exitCode;
}

int failUnknown(const QString& tool, const ToolRun& run)
{
    run.output.error(u"The simulated %1 doesn't know: %2"_s.arg(tool, run.arguments.join(u' ')));
    return 1;
}

} // namespace torvelane::platform::simulated
