#include "account/LocalAuthService.h"
#include "account/MachineIdentity.h"
#include "platform/simulated/SimulatedPc.h"
#include "support/LogCapture.h"
#include "support/TestMachine.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using platform::SimulatedPc;

class tst_AccountMachine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anotherMachinesTokenIsNone()
    {
        const test::TestMachine machine;
        QVERIFY(LocalAuthService().login(u"Ada"_s, Tier::Pro, nullptr));
        QVERIFY(LocalAuthService().restoreSession());
        // The data directory stays, as when somebody carries it to a machine of his own.
        SimulatedPc::setMachineFile(machine.scratchFile(u"other.db"_s));
        const test::LogCapture log;
        QVERIFY(!LocalAuthService().restoreSession());
        QCOMPARE(log.lines(), QStringList(u"[WARN] account: token.bin is damaged; signed out"_s));
    }

    void sessionThatCannotBeStoredHoldsForTheRun()
    {
        const test::TestMachine machine;
        const test::LogCapture log;
        // A folder in the token's place can be neither read nor replaced.
        QVERIFY(QDir(machine.dataDir()).mkpath(u"token.bin"_s));
        LocalAuthService auth;
        QVERIFY(auth.login(u"Ada"_s, Tier::Pro, nullptr));
        QVERIFY(auth.isAuthenticated());
        QCOMPARE(log.lines(), QStringList(u"[WARN] account: Could not store the session in token.bin"_s));
    }

    void identityIsTheMachines()
    {
        const test::TestMachine machine;
        const QString key = u"HKLM\\SOFTWARE\\Microsoft\\Cryptography"_s;
        const QString name = u"MachineGuid"_s;
        SimulatedPc::putString(key, name, u"2f1c9e52-0d4b-4b7e-9a86-6a2c5f1d3e70"_s);
        const QString identity = machineIdentity();
        SimulatedPc::putString(key, name, u" 2F1C9E52-0D4B-4B7E-9A86-6A2C5F1D3E70 "_s);
        QCOMPARE(machineIdentity(), identity);
        SimulatedPc::putString(key, name, u"2f1c9e52-0d4b-4b7e-9a86-6a2c5f1d3e71"_s);
        QVERIFY(machineIdentity() != identity);
        SimulatedPc::putDword(key, name, 1);
        QCOMPARE(machineIdentity(), u"unavailable"_s);
        SimulatedPc::removeValue(key, name);
        QCOMPARE(machineIdentity(), u"unavailable"_s);
    }
};

QTEST_GUILESS_MAIN(tst_AccountMachine)
#include "tst_AccountMachine.moc"
