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

/// What is loaded over something else than the defaults, so that a load has to set every field.
QString loaded(AppConfig config = {})
{
    config.load();
    return shown(config);
}

bool store(const QByteArray& content)
{
    QFile file(Paths::configFile());
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace

class tst_AppConfig : public QObject {
    Q_OBJECT

private:
    AppConfig m_filled;

private Q_SLOTS:
    void initTestCase()
    {
        m_filled.apiBaseUrl = u"https://filled.example"_s;
        m_filled.autoStart = true;
        m_filled.heartbeatIntervalMs = 61000;
        m_filled.lastEmail = u"zo\u00eb@filled.example"_s;
    }

    void contents()
    {
        const QString url = AppConfig().apiBaseUrl;
        const QString defaults = url + u" false 0 "_s;
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
        for (const auto& row : rows) {
            const test::TestMachine machine;
            const test::LogCapture log;
            QVERIFY(store(row.content));
            QCOMPARE(loaded(m_filled), row.config);
            QCOMPARE(log.lines().filter(u"[WARN] config: Corrupt config.json ("_s).size(), row.isDamaged ? 1 : 0);
        }
    }

    void savedIsLoaded()
    {
        const test::TestMachine machine;
        QCOMPARE(loaded(m_filled), shown(AppConfig()));
        QVERIFY(!QFile::exists(Paths::configFile()));
        QVERIFY(store("{{{") && m_filled.save());
        QCOMPARE(loaded(), shown(m_filled));
        QCOMPARE(QDir(Paths::dataDir()).entryList({u"config*"_s}, QDir::Files), QStringList(u"config.json"_s));
    }
};

QTEST_GUILESS_MAIN(tst_AppConfig)
#include "tst_AppConfig.moc"
