#include "app/CommandLine.h"

#include "account/AuthService.h"
#include "account/LicenseService.h"
#include "account/MachineIdentity.h"
#include "app/AppContext.h"
#include "app/DataDirectory.h"
#include "core/Deployment.h"
#include "platform/Elevation.h"
#include "tweaks/TierGate.h"
#include "tweaks/TweakEngine.h"

#include <QSet>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <cstdio>

namespace torvelane {

namespace {

constexpr int exitOk = 0;
constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

const QString selfTestId = QStringLiteral("selftest.toggle");

QTextStream& cliOut()
{
    static QTextStream stream(stdout);
    return stream;
}

QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

int status(AppContext& context, const QStringList&)
{
    cliOut() << "Torvelane " << deployment::version << QStringLiteral(" — status\n");
    cliOut() << "  Elevated:       " << yesNo(platform::isElevated()) << '\n';
    cliOut() << "  Hardware ID:    " << machineIdentity() << '\n';
    cliOut() << "  Authenticated:  " << yesNo(context.auth->isAuthenticated()) << '\n';
    cliOut() << "  Current tier:   " << tierName(context.tier) << '\n';
    cliOut() << "  Catalog tweaks: " << context.catalog.size() << '\n';
    cliOut() << "  Applied tweaks: " << context.engine->appliedIds().join(QStringLiteral(", ")) << '\n';
    QStringList changed = context.engine->appliedIds();
    const auto drift = context.engine->drift(changed);
    changed.removeIf([&drift](const QString& id) { return !drift.contains(id); });
    if (!changed.isEmpty())
        cliOut() << "  Changed since:  " << changed.join(QStringLiteral(", ")) << '\n';
    if (const QStringList aside = DataDirectory::setAsideNames(); !aside.isEmpty())
        cliOut() << "  Set aside:      " << aside.join(QStringLiteral(", ")) << '\n';
    return exitOk;
}

int printHardwareId(AppContext&, const QStringList&)
{
    cliOut() << machineIdentity() << '\n';
    return exitOk;
}

void printSession(const AppContext& context)
{
    const SubscriptionState state = context.license->state();
    if (state.active)
        cliOut() << "Signed in as " << state.userName << ", tier " << tierName(context.tier) << '\n';
    else
        cliOut() << "Signed out\n";
}

int login(AppContext& context, const QStringList& arguments)
{
    const QString userName = arguments.value(0, platform::currentUserName());
    const QString tierText = arguments.value(1, tierName(Tier::Pro));
    const Tier tier = tierFromString(tierText);
    if (tierName(tier) != tierText.trimmed().toLower()) {
        cliOut() << "Login failed: unknown tier '" << tierText << "'; one of none, free, premium, pro\n";
        return exitUsage;
    }
    QString error;
    if (!context.auth->login(userName, tier, &error)) {
        cliOut() << "Login failed: " << error << '\n';
        return exitFailed;
    }
    context.lastEmail = context.auth->userName();
    std::ignore = context.save();
    printSession(context);
    return exitOk;
}

int heartbeat(AppContext& context, const QStringList&)
{
    context.license->refresh();
    printSession(context);
    return exitOk;
}

int logout(AppContext& context, const QStringList&)
{
    QString error;
    if (!context.engine->revertAll(false, &error))
        cliOut() << "Restore failed: " << error << '\n';
    context.auth->logout();
    printSession(context);
    return exitOk;
}

int list(AppContext& context, const QStringList&)
{
    // One query for all: one for each took longer than everything else that this verb does.
    const QStringList appliedIds = context.engine->appliedIds();
    const QSet<QString> applied(appliedIds.begin(), appliedIds.end());
    const QList<TweakDefinition> definitions = context.catalog.definitions();
    for (const TweakDefinition& definition : definitions) {
        cliOut() << (TierGate::covers(context.tier, definition.requiredTier) ? "  [ ] " : "  [LOCK] ") << definition.id
                 << "  (requires " << tierName(definition.requiredTier) << ", " << definition.section << ')'
                 << (applied.contains(definition.id) ? "  *APPLIED*" : "") << '\n';
    }
    return exitOk;
}

int apply(AppContext& context, const QStringList& arguments)
{
    QString error;
    if (context.engine->applyTweak(arguments.at(0), context.tier, &error, false))
        cliOut() << "Applied " << arguments.at(0) << '\n';
    else
        cliOut() << "Apply failed: " << error << '\n';
    return exitOk;
}

int revert(AppContext& context, const QStringList& arguments)
{
    QString error;
    if (context.engine->revertTweak(arguments.at(0), &error, true))
        cliOut() << "Reverted " << arguments.at(0) << '\n';
    else
        cliOut() << "Revert failed: " << error << '\n';
    return exitOk;
}

int restoreAll(AppContext& context, const QStringList&)
{
    QString error;
    if (context.engine->revertAll(true, &error))
        cliOut() << "Restored everything.\n";
    else
        cliOut() << "Restore failed: " << error << '\n';
    return exitOk;
}

int selfTest(AppContext& context, const QStringList&)
{
    QString error;
    cliOut() << "Self-test: applying " << selfTestId << " ...\n";
    if (!context.engine->applyTweak(selfTestId, context.tier, &error, false)) {
        cliOut() << "  apply failed: " << error << '\n';
        return exitFailed;
    }
    cliOut() << "  applied=" << yesNo(context.engine->isApplied(selfTestId)) << "; reverting ...\n";
    if (!context.engine->revertTweak(selfTestId, &error, true)) {
        cliOut() << "  revert failed: " << error << '\n';
        return exitFailed;
    }
    cliOut() << "  applied=" << yesNo(context.engine->isApplied(selfTestId))
             << "\nSelf-test OK: apply/capture/revert round-trip succeeded.\n";
    return exitOk;
}

struct Verb {
    QLatin1String name;
    qsizetype requiredArguments;
    int (*run)(AppContext& context, const QStringList& arguments);
};

constexpr std::array verbs{
    Verb{QLatin1String("status"), 0, status},
    Verb{QLatin1String("hwid"), 0, printHardwareId},
    Verb{QLatin1String("login"), 0, login},
    Verb{QLatin1String("heartbeat"), 0, heartbeat},
    Verb{QLatin1String("logout"), 0, logout},
    Verb{QLatin1String("list"), 0, list},
    Verb{QLatin1String("apply"), 1, apply},
    Verb{QLatin1String("revert"), 1, revert},
    Verb{QLatin1String("restore-all"), 0, restoreAll},
    Verb{QLatin1String("selftest"), 0, selfTest},
};

} // namespace

bool isCliVerb(const QString& lowerCasedArgument)
{
    return std::ranges::any_of(verbs, [&](const Verb& verb) { return verb.name == lowerCasedArgument; });
}

int runCli(AppContext& context, const QStringList& arguments)
{
    context.auth->restoreSession();
    const QString name = arguments.value(1).toLower();
    const QStringList rest = arguments.mid(2);
    int exitCode = exitUsage;
    const auto verb = std::ranges::find_if(
        verbs, [&](const Verb& v) { return v.name == name && rest.size() >= v.requiredArguments; });
    if (verb != verbs.end())
        exitCode = verb->run(context, rest);
    else
        cliOut() << "Unknown command: " << name << '\n';
    cliOut().flush();
    return exitCode;
}

} // namespace torvelane
