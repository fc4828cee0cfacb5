#include "optimizers/GameDetector.h"

#include "platform/Processes.h"
#include "platform/Registry.h"
#include "system/RegistryAccess.h"

#include <QSet>
#include <QSettings>
#include <QStringList>

#include <algorithm>
#include <array>

namespace torvelane {

namespace {

using platform::RunningProcess;

struct KnownGame {
    QLatin1String exe; ///< In lower case.
    const char* title;
    const char* publisher;
};

constexpr std::array knownGames{
    KnownGame{QLatin1String("fivem.exe"), "FiveM", "CitizenFX Collective"},
    KnownGame{QLatin1String("gta5.exe"), "Grand Theft Auto V", "Rockstar Games"},
    KnownGame{QLatin1String("gta_v_launcher.exe"), "Grand Theft Auto V", "Rockstar Games"},
    KnownGame{QLatin1String("cs2.exe"), "Counter-Strike 2", "Valve"},
    KnownGame{QLatin1String("csgo.exe"), "Counter-Strike", "Valve"},
    KnownGame{QLatin1String("valorant.exe"), "VALORANT", "Riot Games"},
    KnownGame{QLatin1String("valorant-win64-shipping.exe"), "VALORANT", "Riot Games"},
    KnownGame{QLatin1String("fortniteclient-win64-shipping.exe"), "Fortnite", "Epic Games"},
    KnownGame{QLatin1String("leagueoflegends.exe"), "League of Legends", "Riot Games"},
    KnownGame{QLatin1String("rainbowsix.exe"), "Rainbow Six Siege", "Ubisoft"},
    KnownGame{QLatin1String("r5apex.exe"), "Apex Legends", "Electronic Arts"},
    KnownGame{QLatin1String("overwatch.exe"), "Overwatch 2", "Blizzard"},
    KnownGame{QLatin1String("dota2.exe"), "Dota 2", "Valve"},
    KnownGame{QLatin1String("minecraft.windows.exe"), "Minecraft", "Mojang"},
    KnownGame{QLatin1String("javaw.exe"), "Minecraft (Java)", "Mojang"},
    KnownGame{QLatin1String("rocketleague.exe"), "Rocket League", "Psyonix"},
    KnownGame{QLatin1String("cod.exe"), "Call of Duty", "Activision"},
    KnownGame{QLatin1String("modernwarfare.exe"), "Call of Duty", "Activision"},
    KnownGame{QLatin1String("warzone.exe"), "Call of Duty: Warzone", "Activision"},
    KnownGame{QLatin1String("palworld-win64-shipping.exe"), "Palworld", "Pocketpair"},
    KnownGame{QLatin1String("eldenring.exe"), "Elden Ring", "FromSoftware"},
    KnownGame{QLatin1String("robloxplayerbeta.exe"), "Roblox", "Roblox Corporation"},
    KnownGame{QLatin1String("windows10universal.exe"), "Roblox", "Roblox Corporation"},
    KnownGame{QLatin1String("tslgame.exe"), "PUBG: Battlegrounds", "KRAFTON"},
    KnownGame{QLatin1String("rustclient.exe"), "Rust", "Facepunch Studios"},
    KnownGame{QLatin1String("genshinimpact.exe"), "Genshin Impact", "HoYoverse"},
    KnownGame{QLatin1String("deadbydaylight-win64-shipping.exe"), "Dead by Daylight", "Behaviour"},
    KnownGame{QLatin1String("gw2-64.exe"), "Guild Wars 2", "ArenaNet"},
    KnownGame{QLatin1String("hogwartslegacy.exe"), "Hogwarts Legacy", "Warner Bros."},
    KnownGame{QLatin1String("marvel-win64-shipping.exe"), "Marvel Rivals", "NetEase"},
    KnownGame{QLatin1String("bf2042.exe"), "Battlefield 2042", "Electronic Arts"},
};

/// Where Windows' own programs lie, none of which is a game.
constexpr std::array excludedFragments{
    QLatin1String("\\windows\\"),
    QLatin1String("\\program files\\windowsapps\\microsoft."),
    QLatin1String("\\system32\\"),
};

/// Below these each game has a folder of its own.
constexpr std::array storeRoots{
    QLatin1String("\\steamapps\\common\\"),
    QLatin1String("\\epic games\\"),
    QLatin1String("\\riot games\\"),
    QLatin1String("\\gog galaxy\\games\\"),
};

constexpr qsizetype extensionLength = 4; ///< Of ".exe".

QSet<QString> readWatchList()
{
    const QSettings settings(QStringLiteral("Torvelane"), QStringLiteral("Torvelane"));
    QSet<QString> watched;
    const QStringList names = settings.value(QStringLiteral("gaming/watchedGames")).toStringList();
    for (const QString& name : names)
        watched.insert(name.toLower());
    return watched;
}

/// The executables that Windows itself has filed as games, in lower case.
QSet<QString> readGameConfigStorePaths()
{
    const QString parent = QStringLiteral("System\\GameConfigStore\\Children");
    platform::RegistryKey key;
    QStringList children;
    if (platform::RegistryKey::open(platform::RootKey::CurrentUser, parent, platform::KeyAccess::Read, key)
            != platform::Win32Error::Success
        || key.subkeyNames(children) != platform::Win32Error::Success) {
        return {};
    }
    QSet<QString> paths;
    for (const QString& child : std::as_const(children)) {
        RegistryValue path;
        if (readValue(RegistryHive::CurrentUser, parent + QLatin1Char('\\') + child,
                      QStringLiteral("MatchedExeFullPath"), path)
            && !path.text.isEmpty()) {
            paths.insert(path.text.toLower());
        }
    }
    return paths;
}

QString withCapital(const QString& word)
{
    return word.left(1).toUpper() + word.mid(1);
}

QString withoutExtension(const QString& exe)
{
    return exe.size() > extensionLength ? exe.chopped(extensionLength) : exe;
}

/// The game's folder in title case; empty if the path lies under no store's root.
QString titleFromStorePath(const QString& lowerPath)
{
    for (const QLatin1String root : storeRoots) {
        const qsizetype at = lowerPath.indexOf(root);
        if (at < 0)
            continue;
        const QString folder = lowerPath.mid(at + root.size()).section(QLatin1Char('\\'), 0, 0).trimmed();
        if (folder.isEmpty())
            continue;
        QStringList words = folder.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        std::ranges::transform(words, words.begin(), withCapital);
        return words.join(QLatin1Char(' '));
    }
    return {};
}

DetectedGame findByName(const QList<RunningProcess>& processes)
{
    const QSet<QString> watched = readWatchList();
    for (const RunningProcess& process : processes) {
        const auto* const known = std::ranges::find(knownGames, process.executable, &KnownGame::exe);
        if (known != knownGames.end())
            return {true, QString::fromUtf8(known->title), QString::fromUtf8(known->publisher)};
        if (watched.contains(process.executable))
            return {true, withoutExtension(process.executable), {}};
    }
    return {};
}

DetectedGame findByPlace(const QList<RunningProcess>& processes)
{
    const QSet<QString> filed = readGameConfigStorePaths();
    for (const RunningProcess& process : processes) {
        const QString path = platform::processImagePath(process.id).toLower();
        if (path.isEmpty() || std::ranges::any_of(excludedFragments, [&path](QLatin1String fragment) {
                return path.contains(fragment);
            })) {
            continue;
        }
        const QString title = titleFromStorePath(path);
        if (!title.isEmpty())
            return {true, title, {}};
        if (filed.contains(path))
            return {true, withCapital(withoutExtension(process.executable)), {}};
    }
    return {};
}

} // namespace

DetectedGame detectRunningGame()
{
    QList<RunningProcess> processes;
    if (platform::listProcesses(processes) != platform::Win32Error::Success)
        return {};
    for (RunningProcess& process : processes)
        process.executable = process.executable.toLower();
    const DetectedGame named = findByName(processes);
    return named.found ? named : findByPlace(processes);
}

} // namespace torvelane
