#include "platform/simulated/SimulatedPc.h"
#include "support/ScratchMachine.h"
#include "system/RegistryAccess.h"

#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::QueryStage;
using platform::SimulatedPc;

class tst_RegistryFaults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// The caller learns of each, some with a line in the log, and the machine stays as it was.
    void refusals()
    {
        constexpr RegistryHive hkcu = RegistryHive::CurrentUser;
        const QString key = u"HKCU\\"_s + scratchKey;
        const QString name = u"Value"_s;
        const auto read = [&] {
            RegistryValue value{true, RegistryValueKind::Dword, 1, {}, {}};
            return readValue(hkcu, scratchKey, name, value) || value.exists;
        };
        const auto erase = [&] { return deleteValue(hkcu, scratchKey, name); };
        const auto writeNumber = [&] { return writeDword(hkcu, scratchKey, name, 2); };
        const auto denyWrites = [&] { SimulatedPc::denyWrites(key); };
        const auto failChange = [] { SimulatedPc::failChange(1); };
        const struct {
            std::function<void()> breakIt;
            std::function<bool()> attempt;
            QString line;
        } rows[] = {
            {[&] { SimulatedPc::denyReads(key); }, read, u"RegOpenKeyExW failed (5) for "_s + key},
            {[&] { SimulatedPc::failQuery(key, name, QueryStage::Size); }, read, u"RegQueryValueExW size failed (5)"_s},
            {[&] { SimulatedPc::failQuery(key, name, QueryStage::Data); }, read, u"RegQueryValueExW read failed (5)"_s},
            {denyWrites, writeNumber, u"RegCreateKeyExW failed (5) for "_s + key},
            {failChange, writeNumber, u"RegSetValueExW(DWORD) failed (29) for %1 [Value]"_s.arg(key)},
            {failChange, [&] { return writeQword(hkcu, scratchKey, name, 2); }, {}},
            {failChange, [&] { return writeString(hkcu, scratchKey, name, u"a"_s, false); }, {}},
            {failChange, [&] { return writeBinary(hkcu, scratchKey, name, "a"); }, {}},
            {denyWrites, erase, {}},
            {failChange, erase, {}},
        };
        for (const auto& row : rows) {
            const ScratchMachine machine;
            putRaw(name, {.type = 4, .data = dwordBytes(1)});
            const MachineImage before = TestMachine::image();
            row.breakIt();
            QVERIFY2(!row.attempt(), qPrintable(SimulatedPc::faults().join(u'\n')));
            QCOMPARE(machine.log.lines().value(0),
                     row.line.isEmpty() ? QString() : u"[WARN] registry: "_s.append(row.line));
            QCOMPARE(differences(before, TestMachine::image()), QStringList());
        }
    }
};

QTEST_GUILESS_MAIN(tst_RegistryFaults)
#include "tst_RegistryFaults.moc"
