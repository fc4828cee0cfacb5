#pragma once

#include "support/ScratchMachine.h"
#include "tweaks/StateSql.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

#include <QByteArrayList>

namespace torvelane::test {

/// An engine with a store and a small catalogue, whose registry tweaks set values of the scratch key to 1.
class EngineBench {
public:
    /// `entries` are the members of the catalogue's array.
    explicit EngineBench(const QByteArray& entries)
    {
        if (!catalog.loadFromJson("{\"tweaks\": [" + entries + "]}") || !store.open(Paths::stateDb()))
            qFatal("The engine could not be set up");
        machine.log = LogCapture();
        QObject::connect(&engine, &TweakEngine::tweakApplied,
                         [this](const QString& id) { signalled.append(u"+ " + id); });
        QObject::connect(&engine, &TweakEngine::tweakReverted,
                         [this](const QString& id) { signalled.append(u"- " + id); });
        QObject::connect(&engine, &TweakEngine::tweakFailed, [this](const QString& id, const QString& error) {
            signalled.append(u"! " + id + u": " + error);
        });
    }

    /// An entry that sets these values of the scratch key.
    static QByteArray registryEntry(const QByteArray& id, const QByteArrayList& names, const QByteArray& tier = "free")
    {
        QByteArrayList operations;
        for (const QByteArray& name : names) {
            operations.append("{\"hive\": \"HKCU\", \"path\": \"Software\\\\Torvelane\\\\Test\", \"name\": \"" + name
                              + "\", \"desired\": 1}");
        }
        return "{\"id\": \"" + id + "\", \"requiredTier\": \"" + tier + "\", \"operations\": [" + operations.join(',')
            + "]}";
    }

    /// State of a row, or -1 if there is none.
    [[nodiscard]] int state(const QString& id) const
    {
        TweakRecord record;
        return store.loadRecord(id, record) ? static_cast<int>(record.state) : -1;
    }

    /// Number in the scratch key, or -1 if there is none.
    [[nodiscard]] static int number(const QString& name)
    {
        const auto value = rawValue(name);
        return value && !value->data.isEmpty() ? value->data.at(0) : -1;
    }

    /// The user's choice, in alphabetical order.
    [[nodiscard]] static QString selection()
    {
        return stateSql(QStringLiteral("SELECT tweak_id FROM tweak_selection ORDER BY 1")).join(QLatin1Char(' '));
    }

    ScratchMachine machine;
    TweakCatalog catalog;
    StateStore store;
    TweakEngine engine{&catalog, &store};
    QStringList signalled; ///< "+ id" for applied, "- id" for reverted, "! id: error" for failed.
};

} // namespace torvelane::test
