#include "core/AppConfig.h"
#include "core/Paths.h"
#include "support/LogCapture.h"
#include "support/TestMachine.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;

namespace {

const QString standardUrl = AppConfig().apiBaseUrl;

QString shown(const AppConfig& config)
{
    return u"%1 %2 %3 %4"_s.arg(config.apiBaseUrl, QVariant(config.autoStart).toString(),
                                QString::number(config.heartbeatIntervalMs), config.lastEmail);
}

/// Holds something else than the defaults everywhere, so that a load has to set every field.
AppConfig filled()
{
    AppConfig config;
    config.apiBaseUrl = u"https://filled.example"_s;
    config.autoStart = true;
    config.heartbeatIntervalMs = 61000;
    config.lastEmail = u"zo\u00eb@filled.example"_s;
    return config;
}

} // namespace

class tst_AppConfig : public QObject {
    Q_OBJECT

private:
    std::optional<test::TestMachine> m_machine;
    std::optional<test::LogCapture> m_log;

private Q_SLOTS:
    void init()
    {
        m_machine.emplace();
        m_log.emplace();
    }

    void contents_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("loaded");
        QTest::addColumn<QString>("parserText");

        const QString defaults = standardUrl + u" false 0 "_s;
        QTest::newRow("empty object") << QByteArray("{}") << defaults << QString();
        QTest::newRow("array") << QByteArray("[]") << defaults << u"no error occurred"_s;
        QTest::newRow("value missing") << QByteArray(R"({"autoStart": })") << defaults
                                       << u"object is missing after a comma"_s;
        QTest::newRow("empty file") << QByteArray() << defaults << u"illegal value"_s;
        QTest::newRow("above the size limit")
            << "{\"lastEmail\": \"" + QByteArray(1024 * 1024, 'x') + "\"}" << defaults << u"unterminated string"_s;
        QTest::newRow("number as URL") << QByteArray(
            R"({"apiBaseUrl": 5, "autoStart": true, "heartbeatIntervalMs": 7, "lastEmail": "a@b"})")
                                       << standardUrl + u" true 7 a@b"_s << QString();
        QTest::newRow("string as interval, number as switch")
            << QByteArray(R"({"heartbeatIntervalMs": "7", "autoStart": 1, "lastEmail": false})") << defaults
            << QString();
        QTest::newRow("empty URL, unknown key")
            << QByteArray(R"({"apiBaseUrl": "", "theme": 1})") << u" false 0 "_s << QString();
    }

    void contents()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, loaded);
        QFETCH(QString, parserText);
        QFile file(Paths::configFile());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();

        AppConfig config = filled();
        config.load();

        QCOMPARE(shown(config), loaded);
        const QStringList expected = parserText.isEmpty()
            ? QStringList()
            : QStringList(u"[WARN] config: Corrupt config.json (%1); using defaults"_s.arg(parserText));
        QCOMPARE(m_log->lines(), expected);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), content);
    }

    void firstRunLeavesNothingBehind()
    {
        AppConfig config = filled();
        config.load();
        QCOMPARE(shown(config), shown(AppConfig()));
        QCOMPARE(m_log->lines(), QStringList());
        QVERIFY(!QFile::exists(Paths::configFile()));
    }

    void savedIsLoaded()
    {
        QFile damaged(Paths::configFile());
        QVERIFY(damaged.open(QIODevice::WriteOnly) && damaged.write("{{{") == 3);
        damaged.close();
        QVERIFY(filled().save());
        AppConfig config;
        config.load();
        QCOMPARE(shown(config), shown(filled()));
        QCOMPARE(QDir(Paths::dataDir()).entryList({u"config*"_s}, QDir::Files), QStringList(u"config.json"_s));
    }

    void placeThatIsNoFile()
    {
        QVERIFY(QDir().mkpath(Paths::configFile()));
        AppConfig config = filled();
        config.load();
        QCOMPARE(shown(config), shown(AppConfig()));
        QVERIFY(!filled().save());
        QCOMPARE(m_log->lines(),
                 QStringList({u"[WARN] config: Cannot open config.json; using defaults"_s,
                              u"[ERROR] config: Cannot open config.json for writing"_s}));
    }
};

QTEST_GUILESS_MAIN(tst_AppConfig)
#include "tst_AppConfig.moc"
