#include "support/Suite.h"
#include "system/WmiSession.h"

using namespace torvelane::platform;

/// The way to WMI, on either machine: how values read as texts, and what a session answers.
class tst_WmiSession : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void valuesAsText()
    {
        // The upper bytes of the union are garbage that the tag leaves out.
        const std::tuple<quint16, quint64, const char*> cases[] = {
            {vtI2, 0x0123456789ab8000, "-32768"},
            {vtI4, 4293918720, "-1048576"},
            {vtUi2, 0xffffffffffff8000, "32768"},
            {vtUi4, 0xffffffff80000000, "2147483648"},
            {vtI8, 0x8000000000000000, "-9223372036854775808"},
            {vtUi8, 0xffffffffffffffff, "18446744073709551615"},
            {vtBool, 0xffff, "true"},
            {vtBool, 0xffff0000, "false"},
            {vtNull, 7, ""},
            {vtUi1, 7, ""},
            {vtR8, 0x3ff0000000000000, ""},
            {vtArray | vtI4, 7, ""},
        };
        for (const auto& [type, bits, text] : cases)
            QCOMPARE(variantToText({.type = type, .bits = bits, .text = {}}), QLatin1String(text));
    }

    void unconnected()
    {
        WmiSession session;
        QString error;
        QCOMPARE(session.query(u"SELECT * FROM Win32_OperatingSystem"_s, &error), QList<WmiRow>());
        QCOMPARE(error, u"WMI not connected"_s);
        QCOMPARE(session.callMethod(u"SystemRestore"_s, u"Restore"_s, {}).stage, WmiMethodStage::Services);
    }

    /// Each session of a thread has its own share of COM: one that ends leaves the others theirs.
    void sessions()
    {
        for (int i = 0; i < 2; ++i) {
            WmiSession outer;
            QString error;
            QVERIFY2(outer.connect(u"ROOT\\CIMV2"_s, &error), qPrintable(error));
            QVERIFY2(WmiSession().connect(u"ROOT\\WMI"_s, &error), qPrintable(error));
            const auto found = outer.query(u"SELECT Caption,Version FROM Win32_OperatingSystem"_s, &error);
            QCOMPARE(found.size(), 1);
            QCOMPARE(found.first().keys(), QStringList({u"Caption"_s, u"Version"_s}));
            QVERIFY(found.first().value(u"Version"_s).toString().startsWith(u"10."));
            QCOMPARE(outer.query(u"SELECT Name FROM Win32_TapeDrive"_s, &error), QList<WmiRow>());
            QCOMPARE(error, QString());
        }
        QCOMPARE(m_machine->log.lines(), QStringList());
    }

    void manyThreads()
    {
        std::atomic<int> answered = 0;
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&answered] {
                WmiSession session;
                if (session.connect(u"ROOT\\CIMV2"_s, nullptr))
                    answered += static_cast<int>(session.query(u"SELECT * FROM Win32_BIOS"_s, nullptr).size());
            });
        }
        threads.clear();
        QCOMPARE(answered.load(), 4);
    }
};

QTEST_GUILESS_MAIN(tst_WmiSession)
#include "tst_WmiSession.moc"
