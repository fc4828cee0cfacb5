#pragma once

#include "tweaks/Tweak.h"

#include <QStringList>

#include <functional>

namespace torvelane {

/// A list of commands that may be absent, which differs from being empty.
struct OptionalCommandList {
    QStringList commands;
    bool present = false;
};

/// A tweak that runs shell commands. It captures nothing: what a revert undoes is what its revert list says, and an
/// entry without one is a one-shot action. Applying can take up to 130 seconds a command, so never on the GUI thread.
class CommandTweak : public ITweak {
public:
    /// The lists arrive trimmed and without empty commands.
    CommandTweak(const QString& id, QStringList apply, QStringList revert, OptionalCommandList applyBoot,
                 OptionalCommandList revertBoot);

    [[nodiscard]] bool isValid() const { return !m_applyCommands.isEmpty(); }
    [[nodiscard]] const QStringList& applyCommands() const { return m_applyCommands; }

    /// Whether there is nothing to undo.
    [[nodiscard]] bool isOneTime() const { return m_revertCommands.isEmpty(); }

    [[nodiscard]] QJsonObject capture(bool* ok, QString* error) override;
    [[nodiscard]] TweakResult apply() override;
    [[nodiscard]] TweakResult revert(const QJsonObject& capture) override;
    [[nodiscard]] bool isCurrentlyApplied(bool* ok) const override;

private:
    QStringList m_applyCommands;
    QStringList m_revertCommands;
    OptionalCommandList m_applyBoot;
    OptionalCommandList m_revertBoot;
};

/// Runs one command. False, with the reason in `error`, if it couldn't be started or had to be ended.
using CommandRunner = std::function<bool(const QString& command, QString* error)>;

/// Runs the commands in order, with the boot user's SID in place of "%TORV_SID%". The first failure stops the list and
/// is the result; earlier commands aren't undone.
[[nodiscard]] TweakResult runCommandList(const QStringList& commands, const CommandRunner& runner);

/// How long a command may take to start and to end.
inline constexpr int shellStartTimeoutMs = 10000;
inline constexpr int shellFinishTimeoutMs = 120000;

/// Runs one command through cmd.exe and waits for its end; `error` may be null. An exit code other than 0 is logged and
/// is no failure. A command that passes its limit is ended together with its descendants.
[[nodiscard]] bool runShellCommand(const QString& command, QString* error);

/// The hook for a run in which commands execute for another user than the process's: `bootMode` chooses the boot lists
/// where an entry has them, `bootUserSid` fills the placeholder. Nothing in the program sets either. Not while commands
/// run.
void setBootContext(bool bootMode, const QString& bootUserSid);

} // namespace torvelane
