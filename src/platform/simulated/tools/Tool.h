#pragma once

#include "platform/simulated/tools/ToolOutput.h"

#include <QString>
#include <QStringList>

namespace torvelane::platform::simulated {

/// One run of a simulated tool.
struct ToolRun {
    QStringList arguments; ///< Those behind the tool's name.
    ToolOutput output;
};

/// What each tool of Tools.def is: a function that does what Torvelane asks of the tool, in the tool's own words, and
/// returns its exit code. Anything else that it is asked fails, so that a misspelt command can't pass for one that works.
using ToolFunction = int (*)(const ToolRun&);

struct Tool {
    QString fileName;
    ToolFunction function = nullptr;
};

/// The tool of that name, with or without ".exe", without regard to case. Null if there is none.
[[nodiscard]] const Tool* findTool(const QString& name);

/// Runs it as the call "tools.<name without .exe>", struck by faults and recorded.
[[nodiscard]] int runTool(const Tool& tool, const ToolRun& run);

/// The exit code of tools that were asked something that isn't simulated, after a line that says so.
[[nodiscard]] int failUnknown(const QString& tool, const ToolRun& run);

#define TOOL(fileName, function) [[nodiscard]] int function(const ToolRun& run);
#include "platform/simulated/tools/Tools.def"
#undef TOOL

} // namespace torvelane::platform::simulated
