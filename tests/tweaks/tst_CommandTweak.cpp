#include "platform/Registry.h"
#include "support/ScratchMachine.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/TweakCatalog.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::regSz;

namespace {

/// A command that leaves a trace.
QString store(const QString& name, const QString& text = u"x"_s)
{
    return u"reg add \"HKCU\\%1\" /v \"%2\" /t REG_SZ /d \"%3\" /f"_s.arg(scratchKey, name, text);
}

/// The names of the traces that were left.
QString stored()
{
    QString names;
    for (const QString& name : {u"A"_s, u"B"_s, u"C"_s, u"D"_s}) {
        if (rawValue(name))
            names += name;
    }
    return names;
}

} // namespace

class tst_CommandTweak : public QObject {
    Q_OBJECT

private:
    std::optional<ScratchMachine> m_machine;

private Q_SLOTS:
    void init() { m_machine.emplace(); }
    void cleanup()
    {
        setBootContext(false, {});
        m_machine.reset();
    }

    void lists_data()
    {
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<QString>("sid");
        QTest::addColumn<QStringList>("run");
        QTest::addColumn<QString>("message");
        QTest::newRow("empty") << QStringList() << QString() << QStringList() << QString();
        QTest::newRow("order") << QStringList{u"b"_s, u"a"_s, u"b"_s} << QString()
                               << QStringList{u"b"_s, u"a"_s, u"b"_s} << QString();
        QTest::newRow("stops at a failure")
            << QStringList{u"a"_s, u"bad"_s, u"c"_s} << QString() << QStringList{u"a"_s, u"bad"_s} << u"failed bad"_s;
        QTest::newRow("user") << QStringList{u"x %TORV_SID%\\%TORV_SID% %torv_sid%"_s} << u"S-1"_s
                              << QStringList{u"x S-1\\S-1 %torv_sid%"_s} << QString();
        QTest::newRow("no user") << QStringList{u"x%TORV_SID%y"_s} << QString() << QStringList{u"xy"_s} << QString();
    }

    void lists()
    {
        QFETCH(QStringList, commands);
        QFETCH(QString, sid);
        QFETCH(QString, message);
        setBootContext(false, sid);
        QStringList run;
        const TweakResult result = runCommandList(commands, [&run](const QString& command, QString* error) {
            run.append(command);
            *error = u"failed "_s + command;
            return command != u"bad";
        });
        QTEST(run, "run");
        QCOMPARE(result.ok, message.isEmpty());
        QCOMPARE(result.message, message);
    }

    void shell_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("line");
        QTest::newRow("quotes") << store(u"With a blank"_s, u"a & b"_s) << u"With a blank"_s << u"a & b"_s << QString();
        QTest::newRow("two commands") << QString(store(u"A"_s, u"a"_s) + u" & "_s + store(u"B"_s, u"b"_s)) << u"B"_s
                                      << u"b"_s << QString();
        QTest::newRow("variable") << store(u"A"_s, u"%TORVELANE_TEST%"_s) << u"A"_s << u"from outside"_s << QString();
        QTest::newRow("exit code") << QString(store(u"A"_s) + u" & exit 3"_s) << u"A"_s << u"x"_s
                                   << QString(u"[WARN] cmdtweak: '%1 & exit 3' exited with 3"_s.arg(store(u"A"_s)));
    }

    void shell()
    {
        QFETCH(QString, command);
        QFETCH(QString, name);
        QFETCH(QString, text);
        QFETCH(QString, line);
        qputenv("TORVELANE_TEST", "from outside");
        QString error;
        QVERIFY(runShellCommand(command, &error));
        QCOMPARE(error, QString());
        QCOMPARE(rawValue(name), (RawValue{regSz, utf16(text)}));
        QCOMPARE(m_machine->log.lines(), line.isEmpty() ? QStringList() : QStringList(line));
    }

    void bootLists_data()
    {
        QTest::addColumn<QByteArray>("lists");
        QTest::addColumn<bool>("bootMode");
        QTest::addColumn<QString>("applied");
        QTest::addColumn<QString>("reverted");
        const QByteArray all = R"("apply": ["A"], "applyBoot": ["B"], "revert": ["C"], "revertBoot": ["D"])";
        QTest::newRow("usual") << all << false << u"A"_s << u"AC"_s;
        QTest::newRow("boot") << all << true << u"B"_s << u"BD"_s;
        QTest::newRow("no boot lists") << QByteArray(R"("apply": ["A"], "revert": ["C"])") << true << u"A"_s << u"AC"_s;
        QTest::newRow("empty boot lists")
            << QByteArray(R"("apply": ["A"], "applyBoot": [], "revert": ["C"], "revertBoot": [])") << true << QString()
            << QString();
        QTest::newRow("action") << QByteArray(R"("apply": ["A"])") << false << u"A"_s << u"A"_s;
    }

    /// Each command of the table is the name of the trace that it leaves.
    void bootLists()
    {
        QFETCH(QByteArray, lists);
        QFETCH(bool, bootMode);
        for (const QString& name : {u"A"_s, u"B"_s, u"C"_s, u"D"_s}) {
            const QByteArray command = store(name).replace(u'\\', u"\\\\"_s).replace(u'"', u"\\\""_s).toUtf8();
            lists.replace(QByteArray('"' + name.toUtf8() + '"'), QByteArray('"' + command + '"'));
        }
        TweakCatalog catalog;
        QVERIFY(catalog.loadFromJson(R"({"tweaks": [{"id": "a", "type": "command", )" + lists + "}]}"));
        const std::shared_ptr<ITweak> tweak = catalog.implementation(u"a"_s);
        setBootContext(bootMode, {});
        bool ok = false;
        QString error;
        QCOMPARE(tweak->capture(&ok, &error), (QJsonObject{{u"type"_s, u"command"_s}}));
        QVERIFY(ok && !tweak->isCurrentlyApplied(&ok) && !ok);
        QVERIFY(tweak->apply().ok);
        QTEST(stored(), "applied");
        QVERIFY(tweak->revert({}).ok);
        QTEST(stored(), "reverted");
    }

    void failingExitCodesStopNothing()
    {
        CommandTweak tweak(u"a"_s, {u"exit 1"_s, store(u"A"_s), u"exit 2"_s, store(u"B"_s)}, {}, {}, {});
        QVERIFY(tweak.apply().ok);
        QCOMPARE(stored(), u"AB"_s);
        QCOMPARE(
            m_machine->log.lines(),
            QStringList({u"[WARN] cmdtweak: 'exit 1' exited with 1"_s, u"[WARN] cmdtweak: 'exit 2' exited with 2"_s}));
        QCOMPARE(CommandTweak(u"b"_s, {}, {}, {}, {}).apply().message, u"No commands defined"_s);
    }
};

QTEST_GUILESS_MAIN(tst_CommandTweak)
#include "tst_CommandTweak.moc"
