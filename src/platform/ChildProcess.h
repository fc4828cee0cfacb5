#pragma once

#include "platform/SystemTools.h"

#include <QByteArray>

namespace torvelane::platform {

/// How long a child may take, -1 for as long as it likes, and how much of what it says is kept of each channel.
struct ChildProcessLimits {
    int startTimeoutMs = 5000;
    int finishTimeoutMs = 30000;
    qsizetype outputLimitBytes = 1024 * 1024;
};

/// How a child ended.
struct ChildProcessResult {
    enum class Outcome {
        Finished,   ///< It ran to its end; exitCode and output are valid.
        NotStarted, ///< It couldn't be started, or not in time.
        TimedOut,   ///< It was still running at its limit and was ended together with its descendants.
        Crashed,    ///< It was ended by a signal or an exception; exitCode means nothing.
    };

    Outcome outcome = Outcome::NotStarted;
    int exitCode = -1;
    QByteArray output;      ///< Standard output, and with ErrorOutput::Merged standard error among it, up to the limit.
    QByteArray errorOutput; ///< Standard error with ErrorOutput::Separate, up to the limit.
    bool outputIsCut = false; ///< There was more, which is dropped.
};

/// What becomes of a child's standard error.
enum class ErrorOutput { Merged, Separate };

/// The one way to run an external tool. Blocks the calling thread up to both limits together, so it never runs on the
/// GUI thread. Environment and working directory are inherited. Standard input is closed, so that a tool that asks
/// for input sees its end. No descendant outlives a time-out or this process; one that the tool left running on
/// purpose outlives a normal end.
[[nodiscard]] ChildProcessResult runChildProcess(const ToolCommand& command, const ChildProcessLimits& limits = {},
                                                 ErrorOutput errorOutput = ErrorOutput::Merged);

/// Starts a tool that outlives this process and isn't waited for. False if it couldn't be started.
[[nodiscard]] bool startDetached(const ToolCommand& command);

} // namespace torvelane::platform
