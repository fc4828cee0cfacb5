#include "optimizers/HeldValues.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "optimizers/AppOptimizer.h"
#include "optimizers/BufferbloatOptimizer.h"
#include "optimizers/GamingMode.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/ServiceProfiles.h"
#include "optimizers/SnapshotFile.h"

#include <array>

namespace torvelane {

namespace {

struct Kind {
    QLatin1String fileName;
    QList<ValueHolder> (*heldIn)(const QJsonObject& document);
};

constexpr std::array kinds{
    Kind{GamingMode::snapshotName, GamingMode::heldIn},
    Kind{ServiceProfiles::snapshotName, ServiceProfiles::heldIn},
    Kind{AppOptimizer::snapshotName, AppOptimizer::heldIn},
    Kind{NetworkOptimizer::snapshotName, NetworkOptimizer::heldIn},
    Kind{BufferbloatOptimizer::snapshotName, BufferbloatOptimizer::heldIn},
};

} // namespace

void HeldValues::update(ValueLedger& ledger)
{
    for (const Kind& kind : kinds) {
        const std::optional<QByteArray> bytes = SnapshotFile::latestBytes(kind.fileName);
        Known& known = m_files[kind.fileName];
        if (!bytes || *bytes == known.bytes)
            continue;
        for (const QString& holder : std::as_const(known.holders))
            ledger.remove(holder);
        known = {*bytes, {}};
        QJsonParseError error{};
        const QJsonDocument document = JsonFile::parse(*bytes, &error);
        if (!bytes->isEmpty() && !document.isObject()) {
            logMessage(
                LogLevel::Warn, QStringLiteral("ledger"),
                QStringLiteral("%1 is no snapshot and holds nothing: %2").arg(kind.fileName, error.errorString()));
        }
        const QList<ValueHolder> holders = kind.heldIn(document.object());
        for (const ValueHolder& holder : holders) {
            ledger.put(holder);
            known.holders.append(holder.id);
        }
    }
}

QString HeldValues::lostOriginal(const ValuePlace& place)
{
    return translate("HeldValues", "The original value of %1 can't be read, so nothing was changed.")
        .arg(placeText(place));
}

} // namespace torvelane
