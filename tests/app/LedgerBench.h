#pragma once

#include "app/AppContext.h"
#include "optimizers/AppOptimizer.h"
#include "optimizers/GamingMode.h"
#include "optimizers/ServiceProfiles.h"
#include "system/RegistryAccess.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/TweakEngine.h"

#include <functional>
#include <map>

namespace torvelane::test {

using namespace Qt::StringLiterals;

using Values = std::map<QString, RegistryValue>; ///< By the place's key.

/// The entries of the catalogue that share values with each other, with Gaming Mode, the services' profiles and programs,
/// and one that shares none.
inline const QStringList entries =
    QStringLiteral("torv.ram.svchost-8gb torv.ram.svchost-16gb torv.ram.svchost-32gb "
                   "opt.max-system-responsiveness opt.disable-network-throttling "
                   "opt.gaming-mmcss-priority opt.foreground-priority-boost opt.enable-gpu-scheduling "
                   "opt.enable-game-mode opt.disable-gamedvr opt.disable-fullscreen-optimizations "
                   "periph.disable-mouse-acceleration torv.net.qos-autotuning-off "
                   "torv.net.ping-reduce-full ram.enable-superfetch torv.opt.disable-xbox-services "
                   "torv.opt.disable-services-background torv.opt.disable-diagtrack "
                   "opt.disable-bluetooth-services opt.disable-search-indexing torv.opt.boost-fps-games "
                   "torv.opt.high-priority-fortnite "
                   "selftest.toggle")
        .split(u' ');

inline const QStringList programs{u"cs2.exe"_s, u"FortniteClient-Win64-Shipping.exe"_s};

/// Something that can be switched, and what it wants of each value.
struct Holder {
    QString name;
    std::function<bool()> on;
    std::function<bool()> off;
    QString instead = {}; ///< Of those with the same text only one can be on.
    Values wishes = {};
};

inline RegistryValue number(quint32 content)
{
    return {true, RegistryValueKind::Dword, content, {}, {}};
}

/// How a service starts.
inline ValuePlace startOf(const QString& service)
{
    return {RegistryHive::LocalMachine, u"SYSTEM\\CurrentControlSet\\Services\\"_s + service, u"Start"_s};
}

/// What stood in the places that a test has filled.
inline Values& initialValues()
{
    static Values values;
    return values;
}

/// The program, with all that can be switched.
struct Program {
    Program()
    {
        if (!context.init())
            qFatal("The program could not be brought up");
        for (const QString& id : entries) {
            const auto tweak = std::dynamic_pointer_cast<RegistryTweak>(context.catalog.implementation(id));
            if (!tweak)
                qFatal("No such entry: %s", qPrintable(id));
            for (const RegistryOperation& operation : tweak->operations())
                places.emplace(operation.place().key(), operation.place());
            holders.append({id, [this, id] { return context.engine->applyTweak(id, Tier::Pro, &error, false); },
                            [this, id] { return context.engine->revertTweak(id, &error, true); }});
        }
        holders.append(
            {u"Gaming Mode"_s, [] { return GamingMode::activate().ok; }, [] { return GamingMode::deactivate().ok; }});
        for (const auto profile : {ServiceProfileId::Basic, ServiceProfileId::Advanced}) {
            holders.append({profile == ServiceProfileId::Basic ? u"Basic"_s : u"Advanced"_s,
                            [this, profile] { return services.apply(profile).ok; },
                            [this] { return services.restoreDefaults().ok; }, u"services"_s});
        }
        for (const QString& name : programs) {
            holders.append({name, [this, name] { return apps.optimize(u"C:\\Games\\"_s + name).ok; },
                            [this, name] { return apps.restore(name).ok; }});
        }
        for (const QString& service : ServiceProfiles::servicesFor(ServiceProfileId::Advanced)) {
            places.emplace(startOf(service).key(), startOf(service));
        }
    }

    void everythingOff()
    {
        for (Holder& holder : holders) {
            if (!holder.off())
                qFatal("%s stays: %s", qPrintable(holder.name), qPrintable(error));
        }
    }

    /// What stands in all of the places.
    [[nodiscard]] Values values() const
    {
        Values found;
        for (const auto& [key, place] : places) {
            if (!readValue(place.hive, place.path, place.name, found[key]))
                qFatal("A value could not be read");
        }
        return found;
    }

    /// Puts a value of its own into every place.
    void arrange(const std::function<RegistryValue(const ValuePlace& place)>& value) const
    {
        for (const auto& [key, place] : places) {
            if (const auto [initial, isNew] = initialValues().try_emplace(key);
                isNew && !readValue(place.hive, place.path, place.name, initial->second)) {
                qFatal("A value could not be read");
            }
            if (!writeValue(place.hive, place.path, place.name, value(place)))
                qFatal("A value could not be written");
        }
    }

    AppContext context;
    ServiceProfiles services;
    AppOptimizer apps;
    QList<Holder> holders;
    std::map<QString, ValuePlace> places;
    QString error;
};

inline QStringList differing(const Values& expected, const Values& found)
{
    QStringList keys;
    for (const auto& [key, value] : expected) {
        if (found.at(key) != value)
            keys.append(key);
    }
    return keys;
}

inline bool isStart(const ValuePlace& place)
{
    return place.name == u"Start";
}

} // namespace torvelane::test
