#include "restore/RestorePoint.h"
#include "support/Suite.h"

namespace {

const QString key = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\SystemRestore"_s;
const QString frequency = u"SystemRestorePointCreationFrequency"_s;

} // namespace

/// System Restore through real COM, as far as Wine has it: a class with one row without values, and no methods.
class tst_RealRestorePoint : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_machine = std::make_unique<ScratchMachine>();
        QVERIFY(readValue(RegistryHive::LocalMachine, key, frequency, m_before));
    }

    void cleanup()
    {
        QVERIFY(writeValue(RegistryHive::LocalMachine, key, frequency, m_before));
        m_machine.reset();
    }

    void pointWithoutValues()
    {
        QString error;
        const QList<RestorePointInfo> points = RestorePoint::listPoints(&error);
        QCOMPARE(error, QString());
        QCOMPARE(points.size(), 1);
        QVERIFY(!points.first().creationTime.isValid());
        QVERIFY(!RestorePoint::deletePoint(0, points.first().creationTime, &error));
        QCOMPARE(error, u"Cannot delete: the restore point has no usable creation time"_s);
    }

    void noMethods()
    {
        QString error;
        QVERIFY(!RestorePoint::createWithFallback(u"Test"_s, &error));
        QCOMPARE(error, u"Restore point not created: CreateRestorePoint method unavailable"_s);
        QVERIFY(!RestorePoint::restoreTo(1, true, &error));
        QCOMPARE(error, u"Restore method unavailable"_s);
        QCOMPARE(machineValue(key, frequency), (RegistryValue{true, RegistryValueKind::Dword, 0, {}, {}}));
    }

    /// The class isn't there, which Wine answers with no rows.
    void noShadowCopies()
    {
        QString error;
        QVERIFY(!RestorePoint::deletePoint(1, QDateTime::currentDateTimeUtc(), &error));
        QCOMPARE(error, u"No shadow copies found to delete"_s);
    }

private:
    std::unique_ptr<ScratchMachine> m_machine;
    RegistryValue m_before;
};

QTEST_GUILESS_MAIN(tst_RealRestorePoint)
#include "tst_RealRestorePoint.moc"
