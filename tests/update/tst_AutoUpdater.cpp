#include "UpdateBench.h"
#include "support/simulated/FullDisk.h"
#include "support/simulated/Suite.h"
#include "update/AutoUpdater.h"
#include "update/UpdateScript.h"
#include "update/UpdateSplash.h"

#include <QApplication>
#include <QTimer>

#include <algorithm>

#include <sys/stat.h>
#include <unistd.h>

using platform::CallMoment;

namespace {

constexpr uid_t nobody = 65534;

using Spoil = void (*)(Bench&);

} // namespace

Q_DECLARE_METATYPE(Spoil)

namespace {

/// What goes wrong, and how the last line of the log begins then.
void row(const char* name, const QString& reason, Spoil spoil)
{
    QTest::newRow(name) << spoil << reason;
}

void addDownloads()
{
    row("feed 404", u"[WARN] update: Update check unavailable (HTTP 404)"_s,
        [](Bench& b) { b.answers.remove(u"/feed"_s); });
    row("download cut", u"[ERROR] update: Download failed (HTTP 200)"_s,
        [](Bench& b) { b.answers[u"/Release.zip"_s].missingBytes = 1; });
    row("download moved to http", u"[ERROR] update: Download failed ("_s, [](Bench& b) {
        b.answers[u"/Release.zip"_s] = {302, "", "Location: http://127.0.0.1:1/\r\n", 0};
    });
    row("signature 404", u"[ERROR] update: Signature download failed (HTTP 404)"_s,
        [](Bench& b) { b.answers.remove(u"/Release.zip.minisig"_s); });
}

void addSignatures()
{
    const QString invalid = u"[ERROR] update: Update signature INVALID — refusing to install"_s;
    row("wrong key", invalid, [](Bench& b) { b.offer(zip(goodEntries), u"other"_s); });
    row("changed archive", invalid, [](Bench& b) { b.answers[u"/Release.zip"_s].content += '\0'; });
    row("signature of another file", invalid,
        [](Bench& b) { b.answers[u"/Release.zip"_s].content = zip({u"Torvelane.exe=evil"_s}); });
    row("empty signature", invalid, [](Bench& b) { b.answers[u"/Release.zip.minisig"_s].content.clear(); });
    row("changed signature", invalid, [](Bench& b) {
        QByteArray& text = b.answers[u"/Release.zip.minisig"_s].content;
        text[text.indexOf('\n') + 60] = text[text.indexOf('\n') + 60] == 'A' ? 'B' : 'A';
    });
    row("changed trusted comment", invalid,
        [](Bench& b) { b.answers[u"/Release.zip.minisig"_s].content.replace("file:signed", "file:Signed"); });
    row("no minisign", invalid, [](Bench& b) { QFile::remove(b.inInstallation(u"minisign.exe"_s)); });
    row("minisign hangs", invalid, [](Bench& b) {
        b.toolTimeoutMs = 1500;
        put(b.inInstallation(u"minisign.exe"_s), "#!/bin/sh\nexec sleep 60", executable);
    });
}

void addArchives()
{
    const QString unsafe = u"[ERROR] update: Update archive contains unsafe paths — refusing to install"_s;
    row("step upwards", unsafe, [](Bench& b) { b.offer(zip({u"Torvelane.exe=x"_s, u"a/../../b=x"_s})); });
    row("device", unsafe, [](Bench& b) { b.offer(zip({u"Torvelane.exe=x"_s, u"NUL.txt=x"_s})); });
    const QString failed = u"[ERROR] update: Extraction failed"_s;
    row("damaged", failed, [](Bench& b) {
        QByteArray archive = zip({u"Torvelane.exe="_s + u"0123456789abcdef"_s.repeated(9)});
        archive[archive.indexOf("exe") + 6] = '\x55';
        b.offer(archive);
    });
    row("unpacking hangs", failed, [](Bench& b) {
        b.toolTimeoutMs = 3000; // enough for the tools before it
        SimulatedPc::hang(u"tools.tar"_s, 60000, {.part = u"-xf"_s});
    });
    const QString differs = u"[ERROR] update: Unpacked files differ from the archive's listing — refusing to install"_s;
    row("symbolic link", differs, [](Bench& b) { b.offer(zip({u"Torvelane.exe=x"_s, u"x.dll@/etc/passwd"_s})); });
    row("hard link", differs, [](Bench& b) {
        put(b.scratchFile(u"tar/a"_s), "x");
        std::ignore = ::link(qPrintable(b.scratchFile(u"tar/a"_s)), qPrintable(b.scratchFile(u"tar/Torvelane.exe"_s)));
        b.offer(runProgram(u"tar"_s, {u"-c"_s, u"-C"_s, b.scratchFile(u"tar"_s), u"a"_s, u"Torvelane.exe"_s}));
    });
    row("unpacks nothing", differs, [](Bench&) { SimulatedPc::fail(u"tools.tar"_s, 0, {.part = u"-xf"_s}); });
    const QString noProgram = u"[ERROR] update: Extracted zip does not contain Torvelane.exe"_s;
    row("two top folders", noProgram, [](Bench& b) { b.offer(zip({u"a/Torvelane.exe=x"_s, u"b/c=x"_s})); });
}

void addPlaces()
{
    const QString noStaging = u"[ERROR] update: Cannot create staging dir "_s;
    row("staging is a link", noStaging, [](Bench& b) { QFile::link(b.scratchFile(u"config"_s), b.staging()); });
    row("staging of another", noStaging, [](Bench& b) {
        QDir().mkpath(b.staging());
        chmod(qPrintable(b.staging()), 0777);
    });
    const QString noScript = u"[ERROR] update: Could not launch the updater script"_s;
    row("script of another", noScript, [](Bench& b) { put(b.script(), "evil", readable); });
    row("script is a link", noScript, [](Bench& b) { QFile::link(b.inInstallation(u"Torvelane.exe"_s), b.script()); });
    row("script doesn't start", noScript,
        [](Bench&) { SimulatedPc::fail(u"processes.startBatchFile"_s, Win32Error::AccessDenied); });
}

bool splashIsGone()
{
    return std::ranges::none_of(QApplication::topLevelWidgets(),
                                [](QWidget* window) { return qobject_cast<UpdateSplash*>(window); });
}

} // namespace

/// From the feed to the script. What the script then does is seen under Wine.
class tst_AutoUpdater : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void handsOver_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QString>("payload");
        QTest::newRow("in one top folder") << goodEntries << u"/extracted/Torvelane"_s;
        QTest::newRow("without one") << QStringList{u"Torvelane.exe=new program"_s, u"a..b/c=d"_s} << u"/extracted"_s;
    }

    void handsOver()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, payload);
        Bench bench;
        bench.offer(zip(entries));
        const LogCapture log;
        bool splashSeen = false;
        QTimer look;
        connect(&look, &QTimer::timeout, [&] {
            for (QWidget* const window : QApplication::topLevelWidgets()) {
                if (qobject_cast<UpdateSplash*>(window) && window->isVisible())
                    splashSeen = window->close(); // which keeps nothing from going on
            }
        });
        look.start(0);
        QVERIFY2(bench.update(), qPrintable(log.lines().join(u'\n')));
        QVERIFY(splashSeen);
        QVERIFY(splashIsGone());
        const auto calls = SimulatedPc::calls(u"processes.startBatchFile"_s);
        QCOMPARE(calls.size(), 1);
        QCOMPARE(calls[0].call.arguments, QStringList({bench.script(), bench.temporary()}));
        QCOMPARE(contentOf(bench.script()),
                 updateScript({.source = bench.staging() + payload,
                               .target = bench.inInstallation({}).chopped(1),
                               .staging = bench.staging()},
                              QCoreApplication::applicationPid()));
        QCOMPARE(contentOf(bench.staging() + payload + u"/Torvelane.exe"_s), QByteArray("new program"));
        const QStringList ours{bench.staging(), bench.staging() + u"/extracted"_s, bench.staging() + u"/Release.zip"_s,
                               bench.script()};
        for (const QString& path : ours)
            QCOMPARE(platform::fileOwner(path), platform::FileOwner::Privileged);
        QCOMPARE(log.lines().filter(u"[WARN]"_s),
                 QStringList(u"[WARN] update: No .minisig asset enumerated; will try "_s
                             + bench.settings().feedUrl.chopped(5) + u"/Release.zip.minisig"_s));
        QCOMPARE(log.lines().constLast(), u"[INFO] update: Updater launched — exiting so files can be replaced"_s);
        QCOMPARE(contentOf(bench.inInstallation(u"Torvelane.exe"_s)), QByteArray("old program"));
        // Again, over what the first one left.
        QVERIFY(bench.update());
    }

    void refuses_data()
    {
        QTest::addColumn<Spoil>("spoil");
        QTest::addColumn<QString>("reason");
        addDownloads();
        addSignatures();
        addArchives();
        addPlaces();
    }

    void refuses()
    {
        QFETCH(Spoil, spoil);
        QFETCH(QString, reason);
        Bench bench;
        spoil(bench);
        const QStringList before = installationOf(bench);
        const LogCapture log;
        QVERIFY(!bench.update());
        const QString last = log.lines().value(log.lines().size() - 1);
        QVERIFY2(last.startsWith(reason), qPrintable(log.lines().join(u'\n')));
        QVERIFY2(last.contains(u" — starting normally"_s), qPrintable(last));
        QCOMPARE(log.lines().filter(u"starting normally"_s).size(), 1);
        QCOMPARE(installationOf(bench), before);
        QVERIFY(splashIsGone());
        for (const platform::CallRecord& call : SimulatedPc::calls(u"processes.startBatchFile"_s))
            QVERIFY(call.answer.value_or(0) != 0);
        if (platform::fileOwner(bench.script()) == platform::FileOwner::Privileged)
            QFAIL("a script stays behind");
        // Nothing of it is in the way of a later one, unless it is another program's.
        SimulatedPc::clearFaults();
        if (reason.contains(u"launch"_s) || reason.contains(u"Extr"_s) || reason.contains(u"Unpacked"_s)) {
            QFile::remove(bench.script());
            bench.toolTimeoutMs = amplyMs;
            bench.offer(zip(goodEntries));
            QVERIFY2(bench.update(), qPrintable(log.lines().join(u'\n')));
        }
    }

    void skipped()
    {
        const Bench bench;
        const LogCapture log;
        QVERIFY(!AutoUpdater::checkAndUpdate());
        qputenv("TORVELANE_NO_UPDATE", "");
        QVERIFY(!AutoUpdater::checkAndUpdate());
        qunsetenv("TORVELANE_NO_UPDATE");
        QCOMPARE(log.lines(),
                 QStringList({u"[INFO] update: This build has no release feed; update check skipped"_s,
                              u"[INFO] update: TORVELANE_NO_UPDATE set — skipping update check"_s}));
    }

    /// No room for the archive, for the signature, or for the script: no file may grow any more once it has been made.
    void fullDisk()
    {
        for (int file = 1; file <= 3; ++file) {
            Bench bench;
            const QStringList before = installationOf(bench);
            int made = 0;
            SimulatedPc::setObserver([&made, file](CallMoment moment, const platform::Call& call) {
                made += moment == CallMoment::After && call.name == u"files.createFile"_s;
                if (made == file)
                    fillDisk(10);
            });
            const bool tookOver = bench.update();
            SimulatedPc::setObserver({});
            fillDisk(RLIM_INFINITY);
            QCOMPARE(made, file);
            QVERIFY(!tookOver);
            QVERIFY(SimulatedPc::calls(u"processes.startBatchFile"_s).isEmpty());
            QCOMPARE(installationOf(bench), before);
            QVERIFY(bench.update());
        }
    }

    /// Killed before each step, the program starts again on a whole old version, and the next update goes through.
    void powerCut()
    {
        Bench bench;
        const QStringList before = installationOf(bench);
        const UpdateSettings settings = bench.settings();
        int kills = 0;
        for (bool isThrough = false; !isThrough; kills += !isThrough) {
            SimulatedPc::kill({}, CallMoment::Before, {.n = kills + 1});
            QProcess child;
            child.setEnvironment(QProcess::systemEnvironment() + bench.childEnvironment());
            QTimer::singleShot(60000, &child, [&child] { child.kill(); });
            child.start(
                QCoreApplication::applicationFilePath(),
                {u"--update"_s, settings.feedUrl, settings.publicKey, settings.programFile, settings.temporaryDir});
            QVERIFY(child.waitForFinished(60000));
            // Where it is a tool that is killed, the program refuses.
            isThrough = child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0;
            SimulatedPc::clearFaults();
            QCOMPARE(installationOf(bench), before);
        }
        QCOMPARE_GE(kills, 7); // two folders, three files, two runs of tar, the script's start
    }

    /// Another user's program that exchanges whatever it can, from the download to the copy.
    void swappingProcess()
    {
        if (::getuid() != 0)
            QSKIP("needs another user");
        Bench bench;
        QProcess swapper;
        swapper.setChildProcessModifier(
            [] { std::ignore = ::setresgid(nobody, nobody, nobody) + ::setresuid(nobody, nobody, nobody); });
        put(bench.scratchFile(u"swap.py"_s), R"(
import os, sys
tries, wins, evil = 0, 0, sys.argv[1] + "/evil"
print("ready", flush=True)
while True:
    for name in ("torvelane_update", "torvelane_update/Release.zip", "torvelane_update/extracted",
                 "torvelane_update/extracted/Torvelane/Torvelane.exe", "torvelane_update.bat"):
        path = sys.argv[1] + "/" + name
        for act in (lambda: os.rename(path, evil), lambda: os.unlink(path), lambda: open(path, "r+").close(),
                    lambda: (open(evil, "w").close(), os.path.lexists(path) and os.replace(evil, path) or 1 / 0)):
            try:
                act()
                open(sys.argv[1] + "/won", "w").write(name)
            except (OSError, ZeroDivisionError):
                tries += 1
)",
            readable);
        swapper.start(u"/usr/bin/python3"_s, {bench.scratchFile(u"swap.py"_s), bench.temporary()});
        QVERIFY(swapper.waitForReadyRead());
        int handedOver = 0;
        for (int round = 0; round < 5; ++round) {
            const bool through = bench.update();
            QTest::qWait(100);
            // As long as there is no folder or no script, anybody may make one of that name: the program refuses to use it.
            const QByteArray won = contentOf(bench.temporary() + u"/won"_s);
            QVERIFY2(won == "(missing)" || won == "torvelane_update" || won == "torvelane_update.bat", won.constData());
            QFile::remove(bench.temporary() + u"/won"_s);
            if (!through)
                continue;
            ++handedOver;
            QCOMPARE(contentOf(bench.staging() + u"/extracted/Torvelane/Torvelane.exe"_s), QByteArray("new program"));
            QVERIFY(contentOf(bench.script()).startsWith("@echo off"));
        }
        QCOMPARE_GT(handedOver, 0);
        QCOMPARE(swapper.state(), QProcess::Running);
        swapper.kill();
        QVERIFY(swapper.waitForFinished());
    }
};

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"--update"_s) {
        return AutoUpdater::checkAndUpdate({.feedUrl = arguments[2],
                                            .publicKey = arguments[3],
                                            .currentVersion = u"1.0.4"_s,
                                            .programFile = arguments[4],
                                            .temporaryDir = arguments[5]})
            ? 0
            : 1;
    }
    tst_AutoUpdater test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AutoUpdater.moc"
