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
            .setValue(u"gaming/watchedGames"_s, QStringList{u"MyGame.exe"_s, u"abc"_s, u"noextension"_s});
    }

    void detection_data()
    {
        QTest::addColumn<QJsonArray>("running");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("publisher");
        const QString none;
        const QString storePath = u"D:\\SteamLibrary\\SteamApps\\Common\\counter  strike \\bin\\game.exe"_s;
        QTest::newRow("nothing") << QJsonArray{process(u"notepad.exe"_s)} << none << none;
        QTest::newRow("known") << QJsonArray{process(u"VALORANT.exe"_s)} << u"VALORANT"_s << u"Riot Games"_s;
        QTest::newRow("watched") << QJsonArray{process(u"mygame.EXE"_s)} << u"mygame"_s << none;
        QTest::newRow("watched, too short to cut") << QJsonArray{process(u"abc"_s)} << u"abc"_s << none;
        QTest::newRow("watched without extension") << QJsonArray{process(u"noextension.exe"_s)} << none << none;
        QTest::newRow("the earlier of known and watched")
            << QJsonArray{process(u"mygame.exe"_s), process(u"cs2.exe"_s)} << u"mygame"_s << none;
        QTest::newRow("by place") << QJsonArray{process(u"game.exe"_s, storePath)} << u"Counter Strike"_s << none;
        QTest::newRow("a name beats a place")
            << QJsonArray{process(u"game.exe"_s, storePath), process(u"mygame.exe"_s)} << u"mygame"_s << none;
        QTest::newRow("filed by Windows")
            << QJsonArray{process(u"racer.exe"_s, u"D:\\GAMES\\Starfield Racer\\racer.exe"_s)} << u"Racer"_s << none;
        QTest::newRow("beside the filed one")
            << QJsonArray{process(u"racer2.exe"_s, u"D:\\Games\\Starfield Racer\\racer2.exe"_s)} << none << none;
        QTest::newRow("Windows' own") << QJsonArray{process(u"x.exe"_s, u"C:\\Windows\\Epic Games\\Thing\\x.exe"_s)}
                                      << none << none;
        QTest::newRow("a store's system32")
            << QJsonArray{process(u"x.exe"_s, u"D:\\Epic Games\\Thing\\System32\\x.exe"_s)} << none << none;
        QTest::newRow("too deep") << QJsonArray{process(
            u"x.exe"_s, u"D:\\Epic Games\\Thing\\"_s + QString(260, u'a') + u"\\x.exe"_s)}
                                  << none << none;
        QTest::newRow("java") << QJsonArray{process(u"javaw.exe"_s)} << u"Minecraft (Java)"_s << u"Mojang"_s;
    }

    void detection()
    {
        QFETCH(QJsonArray, running);
        QFETCH(QString, title);
        QFETCH(QString, publisher);
        SimulatedPc::setValue(u"processes/running"_s, running);
        const DetectedGame game = detectRunningGame();
        QCOMPARE(game.found, !title.isEmpty());
        QCOMPARE(game.title, title);
        QCOMPARE(game.publisher, publisher);
    }

    void withoutAListThereIsNoGame()
    {
        SimulatedPc::setValue(u"processes/running"_s, QJsonArray{process(u"cs2.exe"_s)});
        SimulatedPc::fail(u"processes.list"_s, platform::Win32Error::AccessDenied);
        QVERIFY(!detectRunningGame().found);
    }
};

QTEST_GUILESS_MAIN(tst_GameDetector)
#include "tst_GameDetector.moc"
