#include "restore/CimDateTime.h"
#include "support/Suite.h"

class tst_CimDateTime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parses()
    {
        for (const auto& [text, utc, offsetSeconds] : {
                 std::tuple("20260113101500.000000+060", "2026-01-13T09:15:00Z", 3600),
                 {"20150501120034.213457-300", "2015-05-01T17:00:34Z", -18000},
                 {"20120202180537.316029-000", "2012-02-02T18:05:37Z", 0}, // as the system writes UTC
                 {"20260113101500", "2026-01-13T10:15:00Z", 0},
                 {"20260113101500.000000+", "2026-01-13T10:15:00Z", 0},
                 {"20260113101500.000000+***", "2026-01-13T10:15:00Z", 0},
                 {"20260113101500.000000-060Z", "2026-01-13T10:15:00Z", 0},
                 {"20260113101500.-030+060", "2026-01-13T09:15:00Z", 3600}, // a plus behind a minus counts
                 {"20260113101500.+030-060", "2026-01-13T10:15:00Z", 0},    // before one it is no number
                 {"20260113101500+2147483647", "2026-01-13T10:15:00Z", 0},  // too large to be an offset
                 {"20240229000000.000000+000", "2024-02-29T00:00:00Z", 0},
                 {"20230229000000.000000+000", "", 0},
                 {"20260113240000.000000+000", "", 0},
                 {"2026011310150", "", 0},
                 {"20260113******.******+***", "", 0},
                 {"yyyymmddHHMMSS", "", 0},
                 {"", "", 0},
             }) {
            const QDateTime parsed = parseCimDateTime(QLatin1String(text));
            QCOMPARE(parsed.isValid() ? parsed.toUTC().toString(Qt::ISODate) : QString(), QLatin1String(utc));
            QCOMPARE(parsed.isValid() ? parsed.offsetFromUtc() : 0, offsetSeconds);
        }
    }
};

QTEST_GUILESS_MAIN(tst_CimDateTime)
#include "tst_CimDateTime.moc"
