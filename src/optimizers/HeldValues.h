#pragma once

#include "system/ValueLedger.h"

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QStringList>

namespace torvelane {

/// What the optimisers hold: the entries of their snapshot files, each of which the optimiser itself understands. A file
/// that is no snapshot holds nothing; one that can't be opened holds what it did.
class HeldValues : public HolderSource {
public:
    /// Reads the files, and parses those whose bytes are not what they were.
    void update(ValueLedger& ledger) override;

    /// For a user whose operation would have had to capture a value whose original can't be read, in their language.
    [[nodiscard]] static QString lostOriginal(const ValuePlace& place);

private:
    struct Known {
        QByteArray bytes;
        QStringList holders;
    };
    QHash<QString, Known> m_files; ///< By name.
};

} // namespace torvelane
