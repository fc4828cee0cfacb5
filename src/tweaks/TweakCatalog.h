#pragma once

#include "tweaks/Tweak.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QStringList>

#include <memory>

namespace torvelane {

/// The catalogue: what interfaces show of each entry and the object that the engine runs for it. Filled once, on the
/// main thread and before any worker starts; read-only and readable from any thread from then on. Nothing else names a
/// tweak, and nobody else keeps the objects: they are looked up by id at each use.
class TweakCatalog {
public:
    TweakCatalog() = default;
    TweakCatalog(const TweakCatalog&) = delete;
    TweakCatalog& operator=(const TweakCatalog&) = delete;

    /// Reads and checks the document at `path`. A bad entry is skipped and logged; true if the catalogue may be used,
    /// that is, if any entry loaded or there was none to load.
    [[nodiscard]] bool load(const QString& path);

    /// The same for bytes already read.
    [[nodiscard]] bool loadFromJson(const QByteArray& bytes);

    /// Checks one entry and takes it in. False, logged, if it was skipped.
    bool addDefinition(const QJsonObject& entry);

    /// The record of an entry; a blank one, of tier free, for an unknown id.
    [[nodiscard]] TweakDefinition find(const QString& id) const;

    /// The same without a copy: null for an unknown id. Valid as long as the catalogue.
    [[nodiscard]] const TweakDefinition* findPointer(const QString& id) const;

    /// The object of an entry; null for an unknown id.
    [[nodiscard]] std::shared_ptr<ITweak> implementation(const QString& id) const;

    /// All records in document order.
    [[nodiscard]] QList<TweakDefinition> definitions() const;

    [[nodiscard]] qsizetype size() const { return m_ids.size(); }

    /// Forgets everything; for the tear-down.
    void clear();

private:
    QHash<QString, TweakDefinition> m_definitions;
    QHash<QString, std::shared_ptr<ITweak>> m_implementations;
    QStringList m_ids;
};

} // namespace torvelane
