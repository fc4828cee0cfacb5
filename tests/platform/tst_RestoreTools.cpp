#include "platform/ChildProcess.h"
#include "platform/ConsoleText.h"
#include "support/simulated/Suite.h"

using namespace torvelane::platform;

namespace {

const QString seededCopy = u"{EEF18C41-C6BC-40BB-9863-5491249D2458}"_s;
const QString backupCopy = u"{1F6A3C52-0B9E-4E77-9D0C-6A54C3B7E910}"_s;
const QString heading = u"vssadmin 1.1 - Volume Shadow Copy Service administrative command-line tool\r\n"
                        "(C) Copyright 2001-2013 Microsoft Corp.\r\n\r\n"_s;
const QString frenchHeading =
    u"vssadmin 1.1 - Outil ligne de commande d'administration du service de cliché instantané de volume\r\n"
    "(C) Copyright 2001-2013 Microsoft Corp.\r\n\r\n"_s;

ChildProcessResult run(const QString& tool, const QStringList& arguments)
{
    return runChildProcess({systemToolPath(tool), arguments, {}}, {}, ErrorOutput::Separate);
}

} // namespace

/// The simulated tools of the restore points, held to what the real ones were seen to write.
class tst_RestoreTools : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void says_data()
    {
        QTest::addColumn<QString>("setting");
        QTest::addColumn<QString>("tool");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        const auto sc = [](const char* name, const char* setting, const char* words, int exitCode, const char* output) {
            QTest::newRow(name) << QString::fromLatin1(setting) << u"sc.exe"_s << QString::fromLatin1(words).split(u' ')
                                << exitCode << QString::fromUtf8(output);
        };
        sc("start type", "", "config VSS start= disabled", 0, "[SC] ChangeServiceConfig SUCCESS\r\n");
        sc("start type, French", "fr", "config VSS start= demand", 0, "[SC] ChangeServiceConfig réussite(s)\r\n");
        sc("no such service", "", "config Nothing start= demand", 1060,
           "[SC] OpenService FAILED 1060:\r\n\r\nThe specified service does not exist as an installed "
           "service.\r\n\r\n");
        sc("running already", "running", "start VSS", 1056,
           "[SC] StartService FAILED 1056:\r\n\r\nAn instance of the service is already running.\r\n\r\n");
        sc("disabled", "disabled", "start VSS", 1058,
           "[SC] StartService FAILED 1058:\r\n\r\nThe service cannot be started, either because it is disabled or "
           "because it has no enabled devices associated with it.\r\n\r\n");
        sc("not elevated", "unelevated", "start VSS", 5,
           "[SC] StartService: OpenService FAILED 5:\r\n\r\nAccess is denied.\r\n\r\n");
        const auto vssadmin = [](const char* name, const char* setting, const QString& id, int exitCode,
                                 const QString& output) {
            QTest::newRow(name) << QString::fromLatin1(setting) << u"vssadmin.exe"_s
                                << QStringList{u"delete"_s, u"shadows"_s, u"/shadow="_s + id, u"/quiet"_s} << exitCode
                                << output;
        };
        vssadmin("deleted", "", seededCopy, 0, heading);
        vssadmin("deleted, French", "fr", seededCopy.toLower(), 0, frenchHeading);
        vssadmin("no such copy", "", u"{0}"_s, 1, heading + u"No items found that satisfy the query.\r\n\r\n"_s);
        vssadmin("of a backup", "", backupCopy, 1,
                 heading
                     + u"Error: Snapshots were found, but they were outside of your allowed context.  Try removing "
                       "them with the\r\nbackup application which created them.\r\n\r\n"_s);
        vssadmin("not elevated, copies", "unelevated", seededCopy, 1,
                 heading
                     + u"Error: You don't have the correct permissions to run this command.  Please run this "
                       "utility from a command\r\nwindow that has elevated administrator privileges.\r\n\r\n"_s);
    }

    void says()
    {
        QFETCH(QString, setting);
        QFETCH(QString, tool);
        QFETCH(QStringList, arguments);
        if (setting == u"fr")
            SimulatedPc::setValue(u"user/language"_s, u"fr"_s);
        else if (setting == u"unelevated")
            SimulatedPc::setValue(u"user/elevated"_s, false);
        else if (setting == u"running")
            QCOMPARE(run(tool, arguments).exitCode, 0);
        else if (setting == u"disabled")
            QCOMPARE(run(tool, {u"config"_s, u"VSS"_s, u"start="_s, u"disabled"_s}).exitCode, 0);
        const ChildProcessResult result = run(tool, arguments);
        QTEST(decodeConsoleText(result.output), "output");
        QTEST(result.exitCode, "exitCode");
        QCOMPARE(result.errorOutput, QByteArray());
    }

    /// The code page of consoles, which is neither UTF-8 nor that of windows.
    void codePage()
    {
        SimulatedPc::setValue(u"user/language"_s, u"fr"_s);
        const QByteArray output = run(u"sc.exe"_s, {u"config"_s, u"VSS"_s, u"start="_s, u"auto"_s}).output;
        QVERIFY2(output.contains("r\x82ussite(s)"), output.constData());
    }

    void oneRestartAtATime()
    {
        const QStringList arguments{u"/r"_s, u"/t"_s, u"10"_s, u"/c"_s, u"why"_s};
        const ChildProcessResult first = run(u"shutdown.exe"_s, arguments);
        QCOMPARE(first.exitCode, 0);
        QCOMPARE(first.output + first.errorOutput, QByteArray());
        const ChildProcessResult second = run(u"shutdown.exe"_s, arguments);
        QCOMPARE(second.exitCode, 1190);
        QCOMPARE(second.output, QByteArray());
        QCOMPARE(second.errorOutput, QByteArray("A system shutdown has already been scheduled.(1190)\r\n"));
    }

    /// A command that the program doesn't give is no success.
    void unknownCommands()
    {
        for (const QString& tool : {u"sc.exe"_s, u"vssadmin.exe"_s, u"shutdown.exe"_s}) {
            const ChildProcessResult result = run(tool, {u"list"_s});
            QVERIFY(result.exitCode != 0);
            QVERIFY(result.errorOutput.contains("doesn't know: list"));
        }
    }
};

QTEST_GUILESS_MAIN(tst_RestoreTools)
#include "tst_RestoreTools.moc"
