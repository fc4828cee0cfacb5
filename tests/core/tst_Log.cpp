#include "core/Log.h"
#include "core/Paths.h"
#include "support/LogCapture.h"
#include "support/TestMachine.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <array>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace torvelane;

namespace {

QString oldLog()
{
    return Paths::logFile() + u".1"_s;
}

QByteArray content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly | QIODevice::Text) ? file.readAll() : QByteArray();
}

/// Starts over on a log that already has this much in it.
void startLogOf(qint64 sizeBytes)
{
    closeLogging();
    QFile file(Paths::logFile());
    if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(sizeBytes, '.')) != sizeBytes)
        qFatal("The log could not be prepared");
    file.close();
    initLogging(LogLevel::Debug);
}

} // namespace

class tst_Log : public QObject {
    Q_OBJECT

private:
    std::optional<test::TestMachine> m_machine;

private Q_SLOTS:
    void init() { m_machine.emplace(); }

    void line_data()
    {
        QTest::addColumn<LogLevel>("level");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("written");

        QTest::newRow("debug") << LogLevel::Debug << u"a"_s << u"[DEBUG] net: a"_s;
        QTest::newRow("info") << LogLevel::Info << u"a"_s << u"[INFO] net: a"_s;
        QTest::newRow("warn") << LogLevel::Warn << u"a"_s << u"[WARN] net: a"_s;
        QTest::newRow("error") << LogLevel::Error << u"\u00c9t\u00e9 \u65e5"_s
                               << u"[ERROR] net: \u00c9t\u00e9 \u65e5"_s;
        QTest::newRow("unknown level") << static_cast<LogLevel>(9) << u"a"_s << u"[DEBUG] net: a"_s;
        QTest::newRow("placeholders") << LogLevel::Info << u"%1 %2 %4 100%"_s << u"[INFO] net: %1 %2 %4 100%"_s;
        QTest::newRow("line breaks") << LogLevel::Info << u"a\r\n2026 [ERROR] b\n"_s
                                     << u"[INFO] net: a\\r\\n2026 [ERROR] b\\n"_s;
    }

    void line()
    {
        QFETCH(LogLevel, level);
        QFETCH(QString, message);
        QFETCH(QString, written);
        logMessage(level, u"net"_s, message);
        static const QRegularExpression format(uR"(\A(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}) (.*)\n\z)"_s);
        const auto match = format.match(QString::fromUtf8(content(Paths::logFile())));
        QVERIFY(match.hasMatch());
        QCOMPARE(match.captured(2), written);
        const QDateTime time = QDateTime::fromString(match.captured(1), Qt::ISODateWithMs);
        QVERIFY(qAbs(time.msecsTo(QDateTime::currentDateTime())) < 60000);
    }

    void threshold()
    {
        closeLogging();
        logMessage(LogLevel::Error, u"app"_s, u"before the file is open"_s);
        initLogging(LogLevel::Info);
        const test::LogCapture log;
        const auto writeAll = [] {
            for (const LogLevel level : {LogLevel::Debug, LogLevel::Info, LogLevel::Warn, LogLevel::Error})
                logMessage(level, u"app"_s, u"text"_s);
        };
        writeAll();
        initLogging(LogLevel::Error);
        writeAll();
        QCOMPARE(log.lines(),
                 QStringList(
                     {u"[INFO] app: text"_s, u"[WARN] app: text"_s, u"[ERROR] app: text"_s, u"[ERROR] app: text"_s}));
        QVERIFY(!content(Paths::logFile()).contains("before"));
    }

    void rotation_data()
    {
        QTest::addColumn<qint64>("sizeBytes");
        QTest::addColumn<bool>("rotates");
        QTest::newRow("one byte below the limit") << logRotationSizeBytes - 1 << false;
        QTest::newRow("exactly the limit") << logRotationSizeBytes << true;
    }

    void rotation()
    {
        QFETCH(qint64, sizeBytes);
        QFETCH(bool, rotates);
        QFile old(oldLog());
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old generation") > 0);
        old.close();
        startLogOf(sizeBytes);
        logMessage(LogLevel::Info, u"app"_s, u"first"_s);
        logMessage(LogLevel::Info, u"app"_s, u"second"_s);
        // Below the limit the first line still goes into the full file and the second one starts the new one.
        const QByteArray before = content(oldLog());
        QCOMPARE(before.size() > sizeBytes, !rotates);
        QCOMPARE(before.contains("first"), !rotates);
        QVERIFY(before.startsWith(QByteArray(sizeBytes, '.')));
        QCOMPARE(content(Paths::logFile()).count('\n'), rotates ? 2 : 1);
        QVERIFY(content(Paths::logFile()).endsWith(" [INFO] app: second\n"));
    }

    void manyThreadsAcrossARotation()
    {
        constexpr int threadCount = 8;
        constexpr int lineCount = 150;
        startLogOf(logRotationSizeBytes - 40 * threadCount * lineCount / 2);
        {
            std::vector<std::jthread> threads;
            for (int t = 0; t < threadCount; ++t) {
                threads.emplace_back([t] {
                    for (int i = 0; i < lineCount; ++i)
                        logMessage(LogLevel::Info, u"app"_s, u"thread %1 line %2"_s.arg(t).arg(i));
                });
            }
        }
        QByteArray old = content(oldLog());
        const QByteArray fresh = content(Paths::logFile());
        QVERIFY(!old.isEmpty() && !fresh.isEmpty());
        old.remove(0, old.lastIndexOf('.', old.indexOf('\n')) - 19);
        QStringList lines = QString::fromUtf8(old + fresh).split(u'\n');
        QCOMPARE(lines.takeLast(), QString());
        QCOMPARE(lines.size(), threadCount * lineCount);
        std::array<int, threadCount> next{};
        static const QRegularExpression format(uR"(\A\S{23} \[INFO\] app: thread (\d) line (\d+)\z)"_s);
        for (const QString& text : std::as_const(lines)) {
            const auto match = format.match(text);
            QVERIFY2(match.hasMatch(), qPrintable(text));
            QCOMPARE(match.captured(2).toInt(), next.at(match.captured(1).toUInt())++);
        }
    }
};

QTEST_GUILESS_MAIN(tst_Log)
#include "tst_Log.moc"
