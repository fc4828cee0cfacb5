#include "optimizers/GameDetector.h"
#include "support/simulated/Suite.h"

#include <QSettings>

namespace {

QJsonObject process(const QString& executable, const QString& path = {})
{
    QJsonObject object{{u"id"_s, 9000}, {u"executable"_s, executable}};
    if (!path.isEmpty())
        object.insert(u"path"_s, path);
    return object;
}

} // namespace

class tst_GameDetector : public MachineSuite {
    Q_OBJECT

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase()
    {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_settings.path());
        QSettings(u"Torvelane"_s, u"Torvelane"_s)
            .setValue(u"gaming/watchedGames"_s, QStringList{u"MyGame.exe"_s, u"noextension"_s});
    }

    void detection()
    {
        const QString none;
        const QString storePath = u"D:\\SteamLibrary\\SteamApps\\Common\\counter  strike \\bin\\game.exe"_s;
        const QString tooDeep = u"D:\\Epic Games\\Thing\\"_s + QString(260, u'a') + u"\\x.exe"_s;
        const std::tuple<QJsonArray, QString, QString> cases[] = {
            {{process(u"notepad.exe"_s)}, none, none},
            {{process(u"javaw.exe"_s)}, u"Minecraft (Java)"_s, u"Mojang"_s},
            // Those that the user watches, and which of several counts.
            {{process(u"mygame.EXE"_s)}, u"mygame"_s, none},
            {{process(u"noextension.exe"_s)}, none, none},
            {{process(u"game.exe"_s, storePath), process(u"mygame.exe"_s)}, u"mygame"_s, none},
            // By their place.
            {{process(u"game.exe"_s, storePath)}, u"Counter Strike"_s, none},
            {{process(u"x.exe"_s, u"C:\\Windows\\Epic Games\\Thing\\x.exe"_s)}, none, none},
            {{process(u"x.exe"_s, u"D:\\Epic Games\\Thing\\System32\\x.exe"_s)}, none, none},
            {{process(u"x.exe"_s, tooDeep)}, none, none},
            // Filed by Windows, and beside one that is.
            {{process(u"racer.exe"_s, u"D:\\GAMES\\Starfield Racer\\racer.exe"_s)}, u"Racer"_s, none},
            {{process(u"racer2.exe"_s, u"D:\\Games\\Starfield Racer\\racer2.exe"_s)}, none, none},
        };
        for (const auto& [running, title, publisher] : cases) {
            SimulatedPc::setValue(u"processes/running"_s, running);
            const DetectedGame game = detectRunningGame();
            QCOMPARE(game.found, !title.isEmpty());
            QCOMPARE(game.title, title);
            QCOMPARE(game.publisher, publisher);
        }
    }
};

QTEST_GUILESS_MAIN(tst_GameDetector)
#include "tst_GameDetector.moc"
