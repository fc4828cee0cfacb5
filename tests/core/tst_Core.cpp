#include "core/AppConfig.h"
#include "core/JsonFile.h"
#include "core/Log.h"
#include "platform/SharedLogFile.h"
#include "support/Child.h"

#include <QRegularExpression>
#include <QThread>

#include <list>

namespace {

constexpr int processCount = 6;
constexpr int threadCount = 2;

QString content(const QString& suffix = {})
{
    QFile file(Paths::logFile() + suffix);
    return file.open(QIODevice::ReadOnly | QIODevice::Text) ? QString::fromUtf8(file.readAll()) : QString();
}

void log(const QString& message, LogLevel level = LogLevel::Info)
{
    logMessage(level, u"app"_s, message);
}

/// Adds a line that brings the log to this size.
void fillLogTo(qint64 sizeBytes)
{
    QFile file(Paths::logFile());
    const bool opened = file.open(QIODevice::Append);
    const qint64 missingBytes = sizeBytes - file.size();
    if (!opened || file.write(QByteArray(missingBytes - 1, '.') + '\n') != missingBytes)
        qFatal("The log could not be prepared");
}

/// What one thread logs: short lines, and some that are longer than a write of a buffered stream.
QStringList linesOfThread(const QString& name)
{
    QStringList lines;
    for (int i = 0; i < 30; ++i)
        lines.append(u"%1 %2 %3"_s.arg(name).arg(i).arg(QString(i % 4 * 1500, u'x')));
    return lines;
}

/// Logs from several threads, when the parent says so.
int runChild(const QStringList& arguments)
{
    initLogging(LogLevel::Info, platform::openSharedLogFile);
    stopUntilToldToGoOn();
    std::vector<std::jthread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([own = linesOfThread(arguments.at(0) + QString::number(arguments.at(1).toInt() + t))] {
            std::ranges::for_each(own, [](const QString& line) { log(line); });
        });
    }
    return 0;
}

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

class tst_Core : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void linesAndThreshold()
    {
        closeLogging();
        const test::LogCapture capture;
        for (const LogLevel minimum : {LogLevel::Info, LogLevel::Error}) {
            initLogging(minimum, platform::openSharedLogFile);
            log(u"too little"_s, LogLevel::Debug);
            log(u"%1 %2 100%"_s);
            log(u"a\r\n2026 [ERROR] b\n"_s, LogLevel::Warn);
            log(u"\x1b[2J\t\0\u009b\u2028\u202e\ufeff"_s, LogLevel::Warn);
            log(u"\u00c9t\u00e9 \u65e5 \U0001f600"_s, LogLevel::Error);
        }
        QCOMPARE(capture.lines(),
                 QStringList({u"[INFO] app: %1 %2 100%"_s, u"[WARN] app: a\\r\\n2026 [ERROR] b\\n"_s,
                              u"[WARN] app: \\u001b[2J\\u0009\\u0000\\u009b\\u2028\\u202e\\ufeff"_s,
                              u"[ERROR] app: \u00c9t\u00e9 \u65e5 \U0001f600"_s,
                              u"[ERROR] app: \u00c9t\u00e9 \u65e5 \U0001f600"_s}));
    }

    /// Twice: the second time the file to be replaced is one that this process, which says nothing, still has open.
    void manyProcessesAcrossARotation()
    {
        for (const QString& round : {u"first "_s, u"second "_s}) {
            QStringList expected;
            for (int i = 0; i < processCount * threadCount; ++i)
                expected += linesOfThread(round + QString::number(i));
            fillLogTo(logRotationSizeBytes - expected.join(u'\n').size() / 2);
            std::list<Child> children;
            for (int i = 0; i < processCount; ++i)
                children.emplace_back(*m_machine, QStringList{round, QString::number(i * threadCount)});
            for (Child& child : children)
                QVERIFY(child.hasStopped());
            for (Child& child : children)
                child.goOn();
            for (Child& child : children)
                QVERIFY(child.hasSucceeded());
            QVERIFY(content(u".1"_s).contains(round) && content().contains(round));
            // A line that is damaged comes out as no message, or as another one.
            QStringList lines = QString(content(u".1"_s) + content()).split(u'\n').filter(u" [INFO] app: "_s + round);
            lines.replaceInStrings(QRegularExpression(u"^.* \\[INFO\\] app: "_s), {});
            lines.sort();
            expected.sort();
            QCOMPARE(lines, expected);
        }
        closeLogging();
        QCOMPARE(QDir(Paths::dataDir()).entryList({u"torvelane.log*"_s}, QDir::Files),
                 QStringList({u"torvelane.log"_s, u"torvelane.log.1"_s}));
    }

    /// Windows refuses to replace and to delete what is open for reading. Who reads for a moment delays both; under who
    /// stays, the file is left as it was.
    void filesThatSomebodyReads()
    {
        const QString path = m_machine->scratchFile(u"a.json"_s);
        const auto write = [&path](int a) { return JsonFile::write(path, {{u"a"_s, a}}); };
        QCOMPARE(write(1), JsonFile::WriteError::None);
        for (const bool deletes : {false, true}) {
            QFile reader(path);
            QVERIFY(reader.open(QIODevice::ReadOnly));
            const std::jthread leaving([&reader] {
                QThread::msleep(300);
                reader.close();
            });
            QVERIFY(deletes ? JsonFile::remove(path) : write(2) == JsonFile::WriteError::None);
            QCOMPARE(QFile::exists(path), !deletes);
        }
        QCOMPARE(write(3), JsonFile::WriteError::None);
        QFile reader(path);
        QVERIFY(reader.open(QIODevice::ReadOnly));
        const JsonFile::WriteError refused = write(4);
        QCOMPARE(JsonFile::read(path, 100).object.value(u"a"_s).toInt(), refused == JsonFile::WriteError::None ? 4 : 3);
        const bool isGone = JsonFile::remove(path);
        QCOMPARE(isGone, !QFile::exists(path));
        QCOMPARE(QDir(QFileInfo(path).path()).entryList({u"a.json?*"_s}), QStringList());
    }

    /// Something else than the defaults stands everywhere before, so that a load has to set every field.
    void configuration()
    {
        AppConfig filled;
        filled.apiBaseUrl = u"https://filled.example"_s;
        filled.autoStart = true;
        filled.heartbeatIntervalMs = 61000;
        filled.lastEmail = u"zo\u00eb@filled.example"_s;
        const QString url = AppConfig().apiBaseUrl;
        const QString defaults = shown(AppConfig());
        constexpr qsizetype maxSizeBytes = 1024 * 1024;
        const struct {
            QByteArray content;
            QString config;
            QString damage; ///< As the log says it; empty if the file is read.
        } rows[] = {
            {R"({"autoStart": })", defaults, u"object is missing after a comma"_s},
            {R"({"heartbeatIntervalMs": 7})" + QByteArray(maxSizeBytes - 26, ' '), url + u" false 7 "_s, {}},
            {R"({"heartbeatIntervalMs": 7})" + QByteArray(maxSizeBytes - 25, ' '), defaults,
             u"more than 1048576 bytes"_s},
            {R"({"apiBaseUrl": 5, "heartbeatIntervalMs": "7", "autoStart": 1, "lastEmail": "a@b"})",
             url + u" false 0 a@b"_s,
             {}},
        };
        for (const auto& row : rows) {
            const test::LogCapture log;
            QFile file(Paths::configFile());
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(row.content) == row.content.size());
            file.close();
            QCOMPARE(loaded(filled), row.config);
            const QString line = u"[WARN] config: Corrupt config.json (%1); using defaults"_s.arg(row.damage);
            QCOMPARE(log.lines(), row.damage.isEmpty() ? QStringList() : QStringList(line));
        }
        QVERIFY(filled.save());
        QCOMPARE(loaded({}), shown(filled));
        QCOMPARE(QDir(Paths::dataDir()).entryList({u"config*"_s}, QDir::Files), QStringList(u"config.json"_s));
    }
};

int main(int argc, char** argv)
{
    return runSuite<tst_Core>(argc, argv, runChild);
}

#include "tst_Core.moc"
