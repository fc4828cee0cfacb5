#include "restore/CimDateTime.h"
#include "support/Suite.h"

class tst_CimDateTime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("utc");
        QTest::addColumn<int>("offsetSeconds");
        const auto row = [](const char* name, const char* text, const char* utc, int offsetSeconds) {
            QTest::newRow(name) << QString::fromUtf8(text) << QString::fromUtf8(utc) << offsetSeconds;
        };
        row("ahead of UTC", "20260113101500.000000+060", "2026-01-13T09:15:00Z", 3600);
        row("behind UTC", "20150501120034.213457-300", "2015-05-01T17:00:34Z", -18000);
        row("UTC as the system writes it", "20120202180537.316029-000", "2012-02-02T18:05:37Z", 0);
        row("date and time alone", "20260113101500", "2026-01-13T10:15:00Z", 0);
        row("nothing behind the sign", "20260113101500.000000+", "2026-01-13T10:15:00Z", 0);
        row("no number behind the sign", "20260113101500.000000+***", "2026-01-13T10:15:00Z", 0);
        row("more than a number", "20260113101500.000000-060Z", "2026-01-13T10:15:00Z", 0);
        row("a plus behind a minus counts", "20260113101500.-030+060", "2026-01-13T09:15:00Z", 3600);
        row("a plus before a minus is no number", "20260113101500.+030-060", "2026-01-13T10:15:00Z", 0);
        row("an offset too large to be one", "20260113101500+2147483647", "2026-01-13T10:15:00Z", 0);
        row("a leap day", "20240229000000.000000+000", "2024-02-29T00:00:00Z", 0);
        row("no leap day", "20230229000000.000000+000", "", 0);
        row("hour 24", "20260113240000.000000+000", "", 0);
        row("13 digits", "2026011310150", "", 0);
        row("stars for the time", "20260113******.******+***", "", 0);
        row("no digits", "yyyymmddHHMMSS", "", 0);
        row("null", "", "", 0);
    }

    void parses()
    {
        QFETCH(QString, text);
        QFETCH(int, offsetSeconds);
        const QDateTime parsed = parseCimDateTime(text);
        QTEST(parsed.isValid() ? parsed.toUTC().toString(Qt::ISODate) : QString(), "utc");
        QCOMPARE(parsed.isValid() ? parsed.offsetFromUtc() : 0, offsetSeconds);
    }
};

QTEST_GUILESS_MAIN(tst_CimDateTime)
#include "tst_CimDateTime.moc"
