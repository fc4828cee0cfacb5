#include "shell/SingleInstance.h"
#include "support/simulated/Suite.h"

#include <QLocalSocket>
#include <QSignalSpy>

using platform::CallMoment;

namespace {

const QString serverName = u"torvelane-singleton"_s;
const QByteArray signInLink = "torvelane://signed-in?code=1";

/// Torvelane itself, on its own machine.
struct Program : QProcess {
    explicit Program(const TestMachine& machine, const QStringList& arguments = {})
    {
        setEnvironment(QProcess::systemEnvironment() + machine.childEnvironment());
        start(QStringLiteral(TORVELANE_PROGRAM), arguments);
    }
};

void say(QLocalSocket& client, const QByteArray& message)
{
    client.connectToServer(serverName);
    if (!client.waitForConnected(5000))
        qFatal("No first instance answers");
    client.write(message);
}

} // namespace

/// The finished program in several processes: killed by its machine and started again, or started twice.
class tst_Program : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// The server's name counts for the whole machine, but lies below the folder for temporary files.
    void initTestCase()
    {
        QVERIFY(m_temporary.isValid());
        qputenv("TMPDIR", m_temporary.path().toLocal8Bit());
    }

    void nextStartPutsEverythingBack()
    {
        for (const QString& id : {u"selftest.toggle"_s, u"torv.periph.kervo-mouse-fix"_s}) {
            for (const CallMoment moment : {CallMoment::Before, CallMoment::After}) {
                int kills = 0;
                for (bool killed = true; killed;) {
                    const TestMachine machine;
                    const MachineImage before = TestMachine::image();
                    SimulatedPc::kill(u"registry"_s, moment, {.n = kills + 1});
                    Program killedOne(machine, {u"apply"_s, id});
                    QVERIFY(killedOne.waitForFinished());
                    killed = killedOne.exitStatus() == QProcess::CrashExit;
                    kills += killed;
                    SimulatedPc::clearFaults();
                    Program next(machine, {u"status"_s});
                    QVERIFY(next.waitForFinished());
                    const QString status = QString::fromUtf8(next.readAllStandardOutput());
                    QCOMPARE(status.section(u"Applied tweaks: "_s, 1).trimmed(), killed ? QString() : id);
                    QCOMPARE(differences(before, TestMachine::image()).isEmpty(), killed);
                }
                QCOMPARE_GE(kills, 3);
            }
        }
    }

    /// Nothing but a link goes over. Qt's own options load libraries by path: they are arguments like any other, with no
    /// verb in front and no meaning behind.
    void secondInstanceHandsItsLinkOver()
    {
        const TestMachine machine;
        const QStringList options{u"-platformpluginpath"_s, machine.scratchFile({}), u"-platform"_s, u"foreign"_s};
        const QStringList noLinks{u"x"_s, u"Torvelane://a"_s, u"--url=torvelane://a"_s, u"torvelane:/a"_s, u"status"_s};
        const QString link = QString::fromLatin1(signInLink);
        SingleInstance first;
        QVERIFY(first.claim({}));
        first.listen();
        for (const auto& [arguments, handedOver] :
             {std::pair(noLinks, 0), {options + noLinks + QStringList{link}, 1}}) {
            QSignalSpy links(&first, &SingleInstance::linkReceived);
            Program second(machine, arguments);
            QTRY_COMPARE_WITH_TIMEOUT(second.state(), QProcess::NotRunning, 30000);
            QVERIFY(second.exitStatus() == QProcess::NormalExit && second.exitCode() == 0);
            QCOMPARE(second.readAllStandardOutput(), QByteArray());
            QCOMPARE(links.size(), handedOver);
            if (handedOver > 0)
                QCOMPARE(links.constFirst().constFirst().toUrl(), QUrl(link));
        }
        Program verb(machine, QStringList(u"STATUS"_s) + options);
        QVERIFY(verb.waitForFinished());
        QCOMPARE(verb.exitStatus(), QProcess::NormalExit);
        QVERIFY(verb.readAllStandardOutput().startsWith("Torvelane "));
    }

    void oneOfManyStartsAtOnceShowsItself()
    {
        for (int round = 0; round < 3; ++round) {
            const TestMachine machine;
            std::vector<std::unique_ptr<Program>> starts;
            for (int i = 0; i < 4; ++i)
                starts.push_back(std::make_unique<Program>(machine));
            const auto running = [&starts] {
                return std::ranges::count(starts, QProcess::Running, [](const auto& start) { return start->state(); });
            };
            QTRY_COMPARE_WITH_TIMEOUT(running(), 1, 60000);
            QTRY_VERIFY_WITH_TIMEOUT(SingleInstance::handOver({}), 30000);
            QCOMPARE(running(), 1);
        }
    }

    void staleSocketIsCleared()
    {
        const TestMachine machine;
        for (int round = 0; round < 2; ++round) {
            Program first(machine);
            QTRY_VERIFY_WITH_TIMEOUT(SingleInstance::handOver({}), 30000);
            first.kill(); // leaves its socket behind
            QVERIFY(first.waitForFinished());
            QVERIFY(QFileInfo::exists(m_temporary.filePath(serverName)));
            QVERIFY(!SingleInstance::handOver({}));
        }
    }

    void hostileClientsDisturbNobody()
    {
        SingleInstance first;
        first.listen();
        QSignalSpy links(&first, &SingleInstance::linkReceived);
        QLocalSocket silent[40];
        for (QLocalSocket& client : silent) {
            say(client, {});
            QCoreApplication::processEvents();
        }
        const QByteArray longest = signInLink + QByteArray(SingleInstance::maxLinkSizeBytes - signInLink.size(), 'x');
        for (const auto& [message, link] : {std::pair(QByteArray(longest + 'x'), QByteArray()),
                                            {signInLink + QByteArray(4 << 20, 'x'), {}},
                                            {"TORVELANE://a", {}},
                                            {QByteArray("\xff\xfe\0\xc3", 4), {}},
                                            {longest, longest},
                                            {"torvelane://é", "torvelane://é"},
                                            {" \n" + signInLink + "\r\n", signInLink}}) {
            links.clear();
            QLocalSocket client;
            say(client, message);
            QTRY_COMPARE(client.state(), QLocalSocket::UnconnectedState);
            QCOMPARE(links.size(), link.isEmpty() ? 0 : 1);
            if (!link.isEmpty())
                QCOMPARE(links.constFirst().constFirst().toUrl(), QUrl(QString::fromUtf8(link)));
        }
        // Those that say nothing are let go of after a while, so that they don't add up.
        for (const QLocalSocket& client : silent)
            QTRY_COMPARE(client.state(), QLocalSocket::UnconnectedState);
    }

private:
    QTemporaryDir m_temporary;
};

QTEST_GUILESS_MAIN(tst_Program)
#include "tst_Program.moc"
