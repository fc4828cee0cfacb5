#include "support/Suite.h"

const QString freeTweak = u"explorer.show-hidden-files"_s;
const QString proTweak = u"opt.disable-network-throttling"_s;

/// The finished program as scripts and support use it: a process, its text and its exit code.
class tst_CommandLine : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        MachineSuite::init();
        m_before = TestMachine::image();
    }

    void cleanup()
    {
        run(u"restore-all"_s);
        QCOMPARE(differences(m_before, TestMachine::image()).join(u'\n'), QString());
        MachineSuite::cleanup();
    }

    void applyRevertRestore()
    {
        QVERIFY(run(u"status"_s).endsWith(u"  Catalog tweaks: 162\n  Applied tweaks: \n0"_s));
        QCOMPARE(run(u"LIST"_s).count(u"\n  [ ] "), 161);
        QCOMPARE(run(u"apply "_s + freeTweak), u"Applied "_s + freeTweak + u"\n0"_s);
        QCOMPARE(run(u"Apply "_s + proTweak), u"Applied "_s + proTweak + u"\n0"_s);
        QVERIFY(run(u"status"_s).endsWith(u"  Applied tweaks: "_s + freeTweak + u", "_s + proTweak + u"\n0"_s));
        // What another program has changed since.
        QVERIFY(writeDword(RegistryHive::CurrentUser,
                           u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Advanced"_s, u"Hidden"_s, 7));
        QVERIFY(run(u"status"_s).endsWith(u"  Changed since:  "_s + freeTweak + u"\n0"_s));
        QCOMPARE(run(u"revert "_s + freeTweak), u"Reverted "_s + freeTweak + u"\n0"_s);
        QCOMPARE(run(u"restore-all"_s), u"Restored everything.\n0"_s);
        QCOMPARE(differences(m_before, TestMachine::image()).join(u'\n'), QString());
    }

    void answers()
    {
        for (const auto& [arguments, answer] :
             {std::pair(u"apply"_s, u"Unknown command: apply\n2"_s),
              {u"apply no.such"_s, u"Apply failed: no.such: Unknown tweak id\n0"_s},
              {u"login Ada gold"_s, u"Login failed: unknown tier 'gold'; one of none, free, premium, pro\n2"_s},
              {u"login  free"_s, u"Login failed: The user name must have 1 to 256 printable characters\n1"_s}})
            QCOMPARE(run(arguments), answer);
        // A file in its place denies the data directory to everyone.
        QVERIFY(QDir(m_machine->childDataDir()).removeRecursively());
        QVERIFY(QFile(m_machine->childDataDir()).open(QIODevice::WriteOnly));
        const QString answer = run(u"status"_s);
        QVERIFY(QFile::remove(m_machine->childDataDir()));
        QCOMPARE(answer, u"FATAL: cannot initialize (data directory not writable).\n1"_s);
    }

    void selfTestLeavesNothing()
    {
        // One of its two values is there before, as something else.
        const QString path = u"Software\\Torvelane\\SelfTest"_s;
        QVERIFY(writeQword(RegistryHive::CurrentUser, path, u"Label"_s, 5));
        const MachineImage before = TestMachine::image();
        const QString answer = run(u"selftest"_s);
        const QStringList left = differences(before, TestMachine::image());
        QVERIFY(deleteValue(RegistryHive::CurrentUser, path, u"Label"_s));
        QCOMPARE(left.join(u'\n'), QString());
        QVERIFY2(answer.endsWith(u"Self-test OK: apply/capture/revert round-trip succeeded.\n0"), qPrintable(answer));
        run(u"login Ada none"_s);
        QVERIFY(run(u"selftest"_s).endsWith(u"\n1"));
    }

    void sessionOutlivesTheProcess()
    {
        const QString signedIn = u"Signed in as Ada, tier premium\n0"_s;
        QCOMPARE(run(u"login Ada Premium"_s), signedIn);
        QCOMPARE(run(u"heartbeat"_s), signedIn);
        run(u"apply "_s + freeTweak);
        const QStringList lines = run(u"list"_s).split(u'\n');
        QVERIFY(lines.contains(u"  [ ] "_s + freeTweak + u"  (requires free, Explorer)  *APPLIED*"_s));
        QVERIFY(lines.contains(u"  [LOCK] "_s + proTweak + u"  (requires pro, Latency)"_s));
        QCOMPARE(run(u"logout"_s), u"Signed out\n0"_s);
        QCOMPARE(differences(m_before, TestMachine::image()).join(u'\n'), QString());
        QVERIFY(run(u"status"_s).contains(u"  Authenticated:  no\n  Current tier:   none\n"));
    }

private:
    /// The program's text, with the exit code behind it. There is no display, and nobody sets one up: verbs need none.
    QString run(const QString& arguments) const
    {
        QStringList environment = QProcess::systemEnvironment() + m_machine->childEnvironment();
        environment << u"DISPLAY="_s << u"WAYLAND_DISPLAY="_s << u"QT_QPA_PLATFORM="_s;
        QProcess program;
        program.setEnvironment(environment);
        program.setStandardInputFile(QProcess::nullDevice());
        program.start(QStringLiteral(TORVELANE_PROGRAM), arguments.split(u' '));
        if (!program.waitForFinished(60000) || program.exitStatus() != QProcess::NormalExit)
            return u"didn't end: "_s + QString::fromUtf8(program.readAllStandardError());
        return QString::fromUtf8(program.readAllStandardOutput()).remove(u'\r') + QString::number(program.exitCode());
    }

    MachineImage m_before;
};

QTEST_GUILESS_MAIN(tst_CommandLine)
#include "tst_CommandLine.moc"
