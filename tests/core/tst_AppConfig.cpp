#include "core/AppConfig.h"
#include "core/Paths.h"
#include "support/LogCapture.h"
#include "support/TestMachine.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;

namespace {

QString shown(const AppConfig& config)
{
    return u"%1 %2 %3 %4"_s.arg(config.apiBaseUrl, QVariant(config.autoStart).toString(),
                                QString::number(config.heartbeatIntervalMs), config.lastEmail);
}

QString loaded(AppConfig config)
{
    config.load();
    return shown(config);
}

} // namespace

class tst_AppConfig : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// Something else than the defaults stands everywhere before, so that a load has to set every field.
    void loadingAndSaving()
    {
        AppConfig filled;
        filled.apiBaseUrl = u"https://filled.example"_s;
        filled.autoStart = true;
        filled.heartbeatIntervalMs = 61000;
        filled.lastEmail = u"zo\u00eb@filled.example"_s;
        const QString url = AppConfig().apiBaseUrl;
        const QString defaults = shown(AppConfig());
        const struct {
            QByteArray content;
            QString config;
            bool isDamaged;
        } rows[] = {
            {"{}", defaults, false},
            {"[]", defaults, true},
            {R"({"autoStart": })", defaults, true},
            {"", defaults, true},
            {"{\"lastEmail\": \"" + QByteArray(1024 * 1024, 'x') + "\"}", defaults, true},
            {R"({"apiBaseUrl": 5, "heartbeatIntervalMs": 7, "lastEmail": "a@b"})", url + u" false 7 a@b"_s, false},
            {R"({"heartbeatIntervalMs": "7", "autoStart": 1, "lastEmail": false})", defaults, false},
            {R"({"apiBaseUrl": "", "autoStart": true, "theme": 1})", u" true 0 "_s, false},
        };
        const test::TestMachine machine;
        QCOMPARE(loaded(filled), defaults);
        QVERIFY(!QFile::exists(Paths::configFile()));
        for (const auto& row : rows) {
            const test::LogCapture log;
            QFile file(Paths::configFile());
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(row.content) == row.content.size());
            file.close();
            QCOMPARE(loaded(filled), row.config);
            QCOMPARE(log.lines().filter(u"[WARN] config: Corrupt config.json ("_s).size(), row.isDamaged ? 1 : 0);
        }
        QVERIFY(filled.save());
        QCOMPARE(loaded({}), shown(filled));
        QCOMPARE(QDir(Paths::dataDir()).entryList({u"config*"_s}, QDir::Files), QStringList(u"config.json"_s));
    }
};

QTEST_GUILESS_MAIN(tst_AppConfig)
#include "tst_AppConfig.moc"
