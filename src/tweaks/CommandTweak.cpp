#include "tweaks/CommandTweak.h"

#include "core/Log.h"
#include "platform/ChildProcess.h"

namespace torvelane {

using platform::ChildProcessResult;

namespace {

struct BootContext {
    bool bootMode = false;
    QString bootUserSid;
};

BootContext& bootContext()
{
    static BootContext context;
    return context;
}

const QStringList& chooseList(const QStringList& usual, const OptionalCommandList& boot)
{
    return bootContext().bootMode && boot.present ? boot.commands : usual;
}

} // namespace

CommandTweak::CommandTweak(const QString& id, QStringList apply, QStringList revert, OptionalCommandList applyBoot,
                           OptionalCommandList revertBoot)
    : ITweak(id)
    , m_applyCommands(std::move(apply))
    , m_revertCommands(std::move(revert))
    , m_applyBoot(std::move(applyBoot))
    , m_revertBoot(std::move(revertBoot))
{
}

QJsonObject CommandTweak::capture(bool* ok, QString*)
{
    *ok = true;
    return {{captureTypeKey, tweakTypeCommand}};
}

TweakResult CommandTweak::apply()
{
    if (m_applyCommands.isEmpty())
        return TweakResult::failure(QStringLiteral("No commands defined"));
    return runCommandList(chooseList(m_applyCommands, m_applyBoot), runShellCommand);
}

TweakResult CommandTweak::revert(const QJsonObject&)
{
    return runCommandList(chooseList(m_revertCommands, m_revertBoot), runShellCommand);
}

bool CommandTweak::isCurrentlyApplied(bool* ok) const
{
    *ok = false;
    return false;
}

TweakResult runCommandList(const QStringList& commands, const CommandRunner& runner)
{
    for (QString command : commands) {
        command.replace(QStringLiteral("%TORV_SID%"), bootContext().bootUserSid);
        QString error;
        if (!runner(command, &error))
            return TweakResult::failure(error);
    }
    return TweakResult::success();
}

bool runShellCommand(const QString& command, QString* error)
{
    const ChildProcessResult result =
        platform::runChildProcess(platform::shellCommand(command),
                                  {.startTimeoutMs = shellStartTimeoutMs, .finishTimeoutMs = shellFinishTimeoutMs});
    switch (result.outcome) {
    case ChildProcessResult::Outcome::NotStarted:
        if (error)
            *error = QStringLiteral("Could not start command: ") + command;
        return false;
    case ChildProcessResult::Outcome::TimedOut:
        if (error)
            *error = QStringLiteral("Command timed out: ") + command;
        return false;
    case ChildProcessResult::Outcome::Finished:
    case ChildProcessResult::Outcome::Crashed:
        break;
    }
    if (result.exitCode != 0) {
        logMessage(LogLevel::Warn, QStringLiteral("cmdtweak"),
                   QStringLiteral("'%1' exited with %2").arg(command, QString::number(result.exitCode)));
    }
    return true;
}

void setBootContext(bool bootMode, const QString& bootUserSid)
{
    bootContext() = {bootMode, bootUserSid};
}

} // namespace torvelane
