#pragma once

#include "system/ValueLedger.h"
#include "tweaks/Tweak.h"

#include <QJsonArray>
#include <QList>
#include <QSet>

#include <functional>
#include <optional>

namespace torvelane {

/// One registry write of a catalogue entry, parsed.
struct RegistryOperation {
    RegistryHive hive = RegistryHive::CurrentUser;
    QString path;
    QString name;
    RegistryValueKind kind = RegistryValueKind::Dword;
    quint64 number = 0; ///< Wanted content of Dword and Qword.
    QString text;       ///< Wanted content of Sz and ExpandSz.
    QByteArray bytes;   ///< Wanted content of Binary.
    bool valid = false;

    [[nodiscard]] ValuePlace place() const { return {hive, path, name}; }

    /// The value as it stands when it has been written.
    [[nodiscard]] RegistryValue wish() const;
};

/// One value of a capture.
struct CapturedValue {
    ValuePlace place;
    bool isPlaceKnown = false;             ///< Otherwise the entry is damaged.
    std::optional<RegistryValue> original; ///< Nothing if it is of a kind that only a later version knows.
};

/// A tweak that writes registry values. Its capture holds every value that it will touch as it stood, absent ones as
/// absent, so a revert restores type and content exactly and deletes what wasn't there.
class RegistryTweak : public ITweak {
public:
    /// Parses the catalogue's operations. Every bad one is logged and makes the whole tweak invalid.
    RegistryTweak(const QString& id, const QJsonArray& operations);

    [[nodiscard]] bool isValid() const { return m_valid; }
    [[nodiscard]] const QList<RegistryOperation>& operations() const { return m_operations; }

    [[nodiscard]] QJsonObject capture(bool* ok, QString* error) override;

    /// The same with the originals of those who hold a value already.
    [[nodiscard]] QJsonObject capture(const LedgerSession& session, bool* ok, QString* error) const;

    [[nodiscard]] TweakResult apply() override;
    [[nodiscard]] TweakResult revert(const QJsonObject& capture) override;
    [[nodiscard]] bool isCurrentlyApplied(bool* ok) const override;

    /// The restore itself, which needs no catalogue entry, so that a tweak that has left the catalogue can be undone.
    /// One bad entry doesn't stop the others. With `allowed`, entries whose restoreKey isn't in the set are skipped,
    /// logged, and don't count as failures. With `session`, a value that others hold as well gets what they want of it.
    [[nodiscard]] static TweakResult revertCapture(const QJsonObject& capture, const QSet<QString>* allowed,
                                                   const LedgerSession* session = nullptr);

    /// The values of a capture, in its order.
    [[nodiscard]] static QList<CapturedValue> capturedValues(const QJsonObject& capture);

    /// How `allowed` names a value: short hive name, lower-cased path and lower-cased name, joined by "|".
    [[nodiscard]] static QString restoreKey(RegistryHive hive, const QString& path, const QString& name);

private:
    using Reader = std::function<bool(const ValuePlace& place, RegistryValue& out, QString* error)>;
    [[nodiscard]] QJsonObject captureBy(const Reader& read, bool* ok, QString* error) const;

    QList<RegistryOperation> m_operations;
    bool m_valid = false;
};

} // namespace torvelane
