#include "shell/SingleInstance.h"
#include "support/TestMachine.h"

#include <QElapsedTimer>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <signal.h>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using namespace torvelane;

namespace {

const QString serverName = u"torvelane-singleton"_s;
const QByteArray signInLink = "torvelane://signed-in?code=1";

/// Torvelane itself, on its own machine.
struct Program : QProcess {
    explicit Program(const test::TestMachine& machine, const QStringList& arguments = {})
    {
        QStringList environment = QProcess::systemEnvironment() + machine.childEnvironment();
        environment << u"TORVELANE_NO_CONNECTION_CHECK="_s << u"TORVELANE_NO_UPDATE="_s;
        setEnvironment(environment);
        start(QStringLiteral(TORVELANE_PROGRAM), arguments);
    }
    ~Program() override
    {
        kill();
        waitForFinished();
    }
};

std::unique_ptr<QLocalSocket> connectedClient()
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(serverName);
    if (!socket->waitForConnected(5000))
        qFatal("No first instance answers");
    return socket;
}

} // namespace

class tst_SingleInstance : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// The server's name counts for the whole machine, but lies below the folder for temporary files.
    void initTestCase()
    {
        QVERIFY(m_temporary.isValid());
        qputenv("TMPDIR", m_temporary.path().toLocal8Bit());
    }

    void linkInArguments()
    {
        for (const auto& [arguments, link] :
             {std::pair(u"Torvelane.exe x torvelane://b torvelane://c"_s, u"torvelane://b"_s),
              {u"Torvelane.exe Torvelane://a --url=torvelane://a torvelane:/a"_s, {}}})
            QCOMPARE(SingleInstance::linkIn(arguments.split(u' ')), link);
    }

    void secondInstanceHandsItsLinkOver()
    {
        const test::TestMachine machine;
        SingleInstance first;
        first.listen();
        QSignalSpy links(&first, &SingleInstance::linkReceived);
        // A start that does nothing, to tell the hand-over's time from the program's own.
        QElapsedTimer clock;
        clock.start();
        QVERIFY(Program(machine, {u"hwid"_s}).waitForFinished());
        const int startMs = static_cast<int>(clock.elapsed());
        for (const QStringList& arguments : {QStringList(), {u"x"_s, QString::fromLatin1(signInLink)}}) {
            Program second(machine, arguments);
            QSignalSpy finished(&second, &QProcess::finished);
            QVERIFY(finished.wait(startMs + 1000));
            QCOMPARE(second.exitStatus(), QProcess::NormalExit);
            QCOMPARE(second.exitCode(), 0);
            QCOMPARE(links.size(), arguments.isEmpty() ? 0 : 1);
        }
        QCOMPARE(links.constFirst().constFirst().toUrl(), QUrl(QString::fromLatin1(signInLink)));
    }

    void staleSocketIsCleared()
    {
        const test::TestMachine machine;
        for (int round = 0; round < 2; ++round) {
            Program first(machine);
            QTRY_VERIFY_WITH_TIMEOUT(SingleInstance::handOver({}), 30000);
            Program second(machine);
            QVERIFY(second.waitForFinished());
            QCOMPARE(second.exitCode(), 0);
            QCOMPARE(first.state(), QProcess::Running);
            ::kill(static_cast<pid_t>(first.processId()), SIGKILL); // leaves its socket behind
            QVERIFY(first.waitForFinished());
            QVERIFY(QFileInfo::exists(m_temporary.filePath(serverName)));
            QVERIFY(!SingleInstance::handOver({}));
        }
    }

    void onlyALinkIsTaken()
    {
        SingleInstance first;
        first.listen();
        QSignalSpy links(&first, &SingleInstance::linkReceived);
        const QByteArray longest = signInLink + QByteArray(SingleInstance::maxLinkSizeBytes - signInLink.size(), 'x');
        for (const auto& [message, link] : {std::pair(QByteArray(longest + 'x'), QByteArray()),
                                            {signInLink + QByteArray(4 << 20, 'x'), {}},
                                            {"TORVELANE://a", {}},
                                            {QByteArray("\xff\xfe\0\xc3", 4), {}},
                                            {longest, longest},
                                            {"torvelane://é", "torvelane://é"},
                                            {" \n" + signInLink + "\r\n", signInLink}}) {
            links.clear();
            const auto client = connectedClient();
            client->write(message);
            QTRY_COMPARE(client->state(), QLocalSocket::UnconnectedState);
            QCOMPARE(links.size(), link.isEmpty() ? 0 : 1);
            if (!link.isEmpty())
                QCOMPARE(links.constFirst().constFirst().toUrl(), QUrl(QString::fromUtf8(link)));
        }
    }

    void silentClientsDisturbNobody()
    {
        SingleInstance first;
        first.listen();
        QSignalSpy links(&first, &SingleInstance::linkReceived);
        std::vector<std::unique_ptr<QLocalSocket>> silent;
        for (int i = 0; i < 40; ++i) {
            silent.push_back(connectedClient());
            QCoreApplication::processEvents();
        }
        const auto next = connectedClient();
        next->write(signInLink);
        QTRY_COMPARE(links.size(), 1);
        QCOMPARE(silent.front()->state(), QLocalSocket::ConnectedState);
        // Each is let go of after a while, so that they don't add up.
        QTRY_VERIFY(std::ranges::all_of(
            silent, [](const auto& socket) { return socket->state() == QLocalSocket::UnconnectedState; }));
        QCOMPARE(links.size(), 1);
    }

private:
    QTemporaryDir m_temporary;
};

QTEST_GUILESS_MAIN(tst_SingleInstance)
#include "tst_SingleInstance.moc"
