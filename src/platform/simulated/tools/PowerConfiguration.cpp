#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/tools/Tool.h"
#include "platform/simulated/tools/ToolLanguage.h"

#include <QJsonArray>
#include <QUuid>

#include <optional>

using namespace Qt::StringLiterals;

/// powercfg.exe, on the facility "power": "active" is a plan's GUID; "plans" holds by GUID {"name", "name_fr", "alias",
/// "indices"}, the last by subgroup and setting {"ac", "dc"}; "templates" the plans that can only be duplicated;
/// "subgroups" holds by GUID {"name", "name_fr", "alias", "settings"}, and each setting {"name", "name_fr", "alias", and
/// either "minimum", "maximum", "increment", "units" or the names of its "values"}. A setting with "hidden" isn't shown by
/// /query, as on most machines, but can be set.
/// https://learn.microsoft.com/windows-hardware/design/device-experiences/powercfg-command-line-options
namespace torvelane::platform::simulated {

namespace {

const QString noSuchThing = u"The power scheme, subgroup or setting specified does not exist."_s;
const QString noSuchThingFrench =
    u"Le mode de gestion de l'alimentation, sous-groupe ou paramètre spécifié n'existe pas."_s;

int failNoSuchThing(const ToolRun& run)
{
    run.output.error(inLanguage(noSuchThing, noSuchThingFrench));
    return 1;
}

/// The names in the display language; a thing of the maker's has one name.
QString nameOf(const QJsonObject& thing)
{
    const QString english = thing.value("name"_L1).toString();
    return inLanguage(english, thing.value("name_fr"_L1).toString(english));
}

QString schemeLine(const QString& guid, const QJsonObject& plan)
{
    return inLanguage(u"Power Scheme GUID: %1  (%2)"_s, u"GUID du mode de gestion de l'alimentation : %1  (%2)"_s)
        .arg(guid, nameOf(plan));
}

QString hexadecimal(qint64 number)
{
    return u"0x%1"_s.arg(static_cast<quint32>(number), 8, 16, QLatin1Char('0'));
}

QJsonObject child(const QJsonObject& object, const QString& key)
{
    return object.value(key).toObject();
}

QJsonObject plans(const QJsonObject& power)
{
    return child(power, u"plans"_s);
}

/// The GUID of the plan that an argument names; empty if there is none.
QString planNamed(const QJsonObject& power, const QString& argument)
{
    const QString guid = argument.compare("SCHEME_CURRENT"_L1, Qt::CaseInsensitive) == 0
        ? power.value("active"_L1).toString()
        : argument.toLower();
    return plans(power).contains(guid) ? guid : QString();
}

QJsonObject settingNamed(const QJsonObject& power, const QString& subgroup, const QString& setting)
{
    return child(child(child(child(power, u"subgroups"_s), subgroup.toLower()), u"settings"_s), setting.toLower());
}

/// What the facility's document holds; a fault answers in its place.
std::optional<QJsonObject> readPower(const QString& what)
{
    QJsonObject power;
    const int code = Calls::query(
        Call{u"power."_s + what, {}},
        [&power](const QJsonObject& document) {
            power = document;
            return 0;
        },
        Calls::Recorded::No);
    return code == 0 ? std::optional(power) : std::nullopt;
}

int list(const ToolRun& run, const QJsonObject& power)
{
    run.output.line();
    run.output.line(inLanguage(u"Existing Power Schemes (* Active)"_s,
                               u"Modes de gestion de l'alimentation existants (* Actif)"_s));
    run.output.line(QString(35, u'-'));
    const QJsonObject all = plans(power);
    for (auto plan = all.begin(); plan != all.end(); ++plan) {
        const bool isActive = plan.key() == power.value("active"_L1).toString();
        run.output.line(schemeLine(plan.key(), plan.value().toObject()) + (isActive ? u" *"_s : QString()));
    }
    return 0;
}

int showActive(const ToolRun& run, const QJsonObject& power)
{
    const QString active = power.value("active"_L1).toString();
    run.output.line(schemeLine(active, child(plans(power), active)));
    return 0;
}

void showAlias(const ToolRun& run, const QJsonObject& thing, int indent)
{
    if (const QString alias = thing.value("alias"_L1).toString(); !alias.isEmpty())
        run.output.line(QString(indent, u' ') + inLanguage(u"GUID Alias: "_s, u"Alias de GUID : "_s) + alias);
}

void showPossibleValues(const ToolRun& run, const QJsonObject& setting)
{
    const QJsonArray values = setting.value("values"_L1).toArray();
    for (qsizetype i = 0; i < values.size(); ++i) {
        run.output.line(u"      "_s + inLanguage(u"Possible Setting Index: "_s, u"Index du paramètre possible : "_s)
                        + u"%1"_s.arg(i, 3, 10, QLatin1Char('0')));
        run.output.line(u"      "_s
                        + inLanguage(u"Possible Setting Friendly Name: "_s, u"Nom convivial du paramètre possible : "_s)
                        + values.at(i).toString());
    }
    if (!values.isEmpty())
        return;
    run.output.line(u"      "_s + inLanguage(u"Minimum Possible Setting: "_s, u"Valeur minimale possible : "_s)
                    + hexadecimal(setting.value("minimum"_L1).toInteger()));
    run.output.line(u"      "_s + inLanguage(u"Maximum Possible Setting: "_s, u"Valeur maximale possible : "_s)
                    + hexadecimal(setting.value("maximum"_L1).toInteger()));
    run.output.line(u"      "_s + inLanguage(u"Possible Settings increment: "_s, u"Incrément possible : "_s)
                    + hexadecimal(setting.value("increment"_L1).toInteger(1)));
    run.output.line(u"      "_s + inLanguage(u"Possible Settings units: "_s, u"Unités possibles : "_s)
                    + setting.value("units"_L1).toString());
}

int query(const ToolRun& run, const QJsonObject& power)
{
    const QString guid = planNamed(power, run.arguments.at(1));
    const QString subgroup = run.arguments.at(2).toLower();
    const QString settingGuid = run.arguments.at(3).toLower();
    const QJsonObject group = child(child(power, u"subgroups"_s), subgroup);
    const QJsonObject setting = settingNamed(power, subgroup, settingGuid);
    if (guid.isEmpty() || setting.isEmpty())
        return failNoSuchThing(run);

    const QJsonObject plan = child(plans(power), guid);
    run.output.line(schemeLine(guid, plan));
    showAlias(run, plan, 2);
    run.output.line(u"  "_s
                    + inLanguage(u"Subgroup GUID: %1  (%2)"_s, u"GUID de sous-groupe d'alimentation : %1  (%2)"_s)
                          .arg(subgroup, nameOf(group)));
    showAlias(run, group, 4);
    if (setting.value("hidden"_L1).toBool()) {
        run.output.line();
        return 0;
    }
    run.output.line(u"    "_s
                    + inLanguage(u"Power Setting GUID: %1  (%2)"_s, u"GUID de paramètre d'alimentation : %1  (%2)"_s)
                          .arg(settingGuid, nameOf(setting)));
    showAlias(run, setting, 6);
    showPossibleValues(run, setting);
    const QJsonObject indices = child(child(child(plan, u"indices"_s), subgroup), settingGuid);
    run.output.line(u"    "_s
                    + inLanguage(u"Current AC Power Setting Index: "_s,
                                 u"Index du paramètre d'alimentation sur secteur actuel : "_s)
                    + hexadecimal(indices.value("ac"_L1).toInteger()));
    run.output.line(u"    "_s
                    + inLanguage(u"Current DC Power Setting Index: "_s,
                                 u"Index du paramètre d'alimentation sur batterie actuel : "_s)
                    + hexadecimal(indices.value("dc"_L1).toInteger()));
    run.output.line();
    return 0;
}

/// Stores one index of a plan's setting.
int setIndex(const ToolRun& run, const QString& source)
{
    bool isNumber = false;
    const uint number = run.arguments.at(4).toUInt(&isNumber);
    if (!isNumber) {
        run.output.error(inLanguage(u"Invalid Parameters -- try \"/?\" for help"_s,
                                    u"Paramètres non valides : essayez « /? » pour obtenir de l'aide"_s));
        return 1;
    }
    const QString subgroup = run.arguments.at(2).toLower();
    const QString setting = run.arguments.at(3).toLower();
    const int code = Calls::run(Call{u"power.setIndex"_s, run.arguments}, [&](QJsonObject& power) {
        const QString guid = planNamed(power, run.arguments.at(1));
        if (guid.isEmpty() || settingNamed(power, subgroup, setting).isEmpty())
            return 1;
        QJsonObject all = plans(power);
        QJsonObject plan = child(all, guid);
        QJsonObject indices = child(plan, u"indices"_s);
        QJsonObject ofGroup = child(indices, subgroup);
        QJsonObject ofSetting = child(ofGroup, setting);
        ofSetting[source] = static_cast<qint64>(number);
        ofGroup[setting] = ofSetting;
        indices[subgroup] = ofGroup;
        plan["indices"_L1] = indices;
        all[guid] = plan;
        power["plans"_L1] = all;
        return 0;
    });
    return code == 0 ? 0 : failNoSuchThing(run);
}

int setActive(const ToolRun& run)
{
    const int code = Calls::run(Call{u"power.setActive"_s, run.arguments}, [&run](QJsonObject& power) {
        const QString guid = planNamed(power, run.arguments.at(1));
        if (guid.isEmpty())
            return 1;
        power["active"_L1] = guid;
        return 0;
    });
    return code == 0 ? 0 : failNoSuchThing(run);
}

int duplicate(const ToolRun& run)
{
    const QString source = run.arguments.at(1).toLower();
    const QString copy = QUuid::createUuid().toString(QUuid::WithoutBraces);
    QJsonObject plan;
    const int code = Calls::run(Call{u"power.duplicate"_s, run.arguments}, [&](QJsonObject& power) {
        QJsonObject all = plans(power);
        plan = all.contains(source) ? child(all, source) : child(child(power, u"templates"_s), source);
        if (plan.isEmpty())
            return 1;
        plan.remove("alias"_L1);
        all[copy] = plan;
        power["plans"_L1] = all;
        return 0;
    });
    if (code != 0) {
        run.output.error(inLanguage(u"Unable to create a new power scheme"_s,
                                    u"Impossible de créer un nouveau mode de gestion de l'alimentation"_s));
        return failNoSuchThing(run);
    }
    run.output.line(schemeLine(copy, plan));
    return 0;
}

} // namespace

int runPowerConfiguration(const ToolRun& run)
{
    const QString verb = run.arguments.value(0).toLower();
    const qsizetype count = run.arguments.size();
    if (verb == "/setactive"_L1 && count == 2)
        return setActive(run);
    if (verb == "-duplicatescheme"_L1 && count == 2)
        return duplicate(run);
    if (verb == "/setacvalueindex"_L1 && count == 5)
        return setIndex(run, u"ac"_s);
    if (verb == "/setdcvalueindex"_L1 && count == 5)
        return setIndex(run, u"dc"_s);

    const bool isList = verb == "/list"_L1 && count == 1;
    const bool isActive = verb == "/getactivescheme"_L1 && count == 1;
    const bool isQuery = verb == "/query"_L1 && count == 4;
    if (!isList && !isActive && !isQuery)
        return failUnknown(u"powercfg.exe"_s, run);
    const std::optional<QJsonObject> power = readPower(verb.mid(1));
    if (!power)
        return failNoSuchThing(run);
    if (isList)
        return list(run, *power);
    return isActive ? showActive(run, *power) : query(run, *power);
}

} // namespace torvelane::platform::simulated
