#pragma once

#include "core/Tier.h"

#include <QJsonObject>
#include <QString>

namespace torvelane {

/// Outcome of applying or reverting; `message` is empty when `ok`.
struct TweakResult {
    bool ok = false;
    QString message;

    [[nodiscard]] static TweakResult success() { return {true, {}}; }
    [[nodiscard]] static TweakResult failure(const QString& message) { return {false, message}; }
};

/// When a change shows.
enum class TweakEffect { AtOnce, AfterRestartingExplorer, AfterSigningOut, AfterRestart };

/// A catalogue entry as lists and pages show it. Texts are already in the display language.
struct TweakDefinition {
    QString id;
    QString name;
    QString section;
    Tier requiredTier = Tier::Free;
    QString warning;
    QString description;
    QString type;
    /// A description says this as well; a warning doesn't.
    TweakEffect effect = TweakEffect::AtOnce;
};

/// One reversible change of the system: able to say what it would disturb, to make the change, and to put things back
/// from what it said. Owned by the catalogue; without state of its own, so any thread may call it. The engine decides
/// the order: capture, durable commit of the capture, apply.
class ITweak {
public:
    explicit ITweak(QString id) : m_id(std::move(id)) { }
    virtual ~ITweak() = default;
    ITweak(const ITweak&) = delete;
    ITweak& operator=(const ITweak&) = delete;

    [[nodiscard]] virtual QString id() const { return m_id; }

    /// Whether this machine can take the tweak; `reason`, which may be null, says why not.
    [[nodiscard]] virtual bool isApplicable(QString* reason) const
    {
        Q_UNUSED(reason)
        return true;
    }

    /// Reads the present values. On failure `*ok` is false, `*error` says why, and the result is empty.
    [[nodiscard]] virtual QJsonObject capture(bool* ok, QString* error) = 0;

    /// Makes the change. A failure may leave it half done: the caller undoes it by revert.
    [[nodiscard]] virtual TweakResult apply() = 0;

    /// Puts back what `capture` says. Can be repeated safely.
    [[nodiscard]] virtual TweakResult revert(const QJsonObject& capture) = 0;

    /// Compares the system with the wanted state; `*ok` is false if that is unknown.
    [[nodiscard]] virtual bool isCurrentlyApplied(bool* ok) const = 0;

private:
    QString m_id;
};

/// The capture's key that says which kind of tweak made it, and the kinds.
inline const QString captureTypeKey = QStringLiteral("type");
inline const QString tweakTypeRegistry = QStringLiteral("registry");
inline const QString tweakTypeCommand = QStringLiteral("command");

} // namespace torvelane
