#include "platform/Elevation.h"
#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/tools/Tool.h"
#include "platform/simulated/tools/ToolLanguage.h"
#include "platform/simulated/wmi/SystemRestore.h"

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

constexpr int refused = 1;

} // namespace

/// vssadmin.exe delete shadows /shadow={...} /quiet
int runShadowAdmin(const ToolRun& run)
{
    const QString option = u"/shadow="_s;
    if (run.arguments.size() != 4 || run.arguments[0] != u"delete" || run.arguments[1] != u"shadows"
        || !run.arguments[2].startsWith(option) || run.arguments[3] != u"/quiet")
        return failUnknown(u"vssadmin.exe"_s, run);

    // Errors, too, go to standard run.output.
    run.output.line(
        inLanguage(u"vssadmin 1.1 - Volume Shadow Copy Service administrative command-line tool"_s,
                   u"vssadmin 1.1 - Outil ligne de commande d’administration du service de cliché instantané de "
                   "volume"_s));
    run.output.line(u"(C) Copyright 2001-2013 Microsoft Corp."_s);
    run.output.line();
    if (!isElevated()) {
        run.output.line(
            inLanguage(u"Error: You don't have the correct permissions to run this command.  Please run this "
                       "utility from a command\r\nwindow that has elevated administrator privileges."_s,
                       u"Erreur : Vous ne disposez pas des autorisations correctes pour exécuter cette "
                       "commande.  Exécutez cet\r\nutilitaire à partir d’une fenêtre de commande disposant de "
                       "privilèges d’administrateur élevés."_s));
        run.output.line();
        return refused;
    }
    const QString id = run.arguments[2].sliced(option.size());
    ShadowDeletion deletion = ShadowDeletion::NotFound;
    const int code = Calls::run(Call{u"wmi.deleteShadowCopy"_s, {id}}, [&](QJsonObject& document) {
        deletion = deleteShadowCopy(document, id);
        return deletion == ShadowDeletion::Deleted ? 0 : refused;
    });
    if (deletion == ShadowDeletion::NotFound) {
        run.output.line(inLanguage(u"No items found that satisfy the query."_s,
                                   u"Aucun élément trouvé correspondant à la requête."_s));
        run.output.line();
    } else if (deletion == ShadowDeletion::OutsideContext) {
        run.output.line(
            inLanguage(u"Error: Snapshots were found, but they were outside of your allowed context.  Try "
                       "removing them with the\r\nbackup application which created them."_s,
                       u"Erreur : Des clichés instantanés ont été trouvés, mais ils sont en dehors de votre "
                       "contexte autorisé.\r\nEssayez de les supprimer avec l’application de sauvegarde qui les "
                       "a créés."_s));
        run.output.line();
    }
    return code;
}

} // namespace torvelane::platform::simulated
