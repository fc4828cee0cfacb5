#include "platform/Registry.h"
#include "platform/simulated/SimulatedPc.h"
#include "registry/RegistryAccess.h"
#include "support/ScratchMachine.h"

#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::QueryStage;
using platform::SimulatedPc;

namespace {

constexpr RegistryHive hkcu = RegistryHive::CurrentUser;
const QString key = u"HKCU\\"_s + scratchKey;
const QString name = u"Value"_s;

bool readAnything()
{
    RegistryValue value{true, RegistryValueKind::Dword, 1, {}, {}};
    const bool answered = readValue(hkcu, scratchKey, name, value);
    return answered || value != RegistryValue();
}

} // namespace

class tst_RegistryFaults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusals_data()
    {
        QTest::addColumn<std::function<void()>>("breakIt");
        QTest::addColumn<std::function<bool()>>("attempt");
        QTest::addColumn<QStringList>("lines");
        const auto row = [](const char* title, std::function<void()> breakIt, std::function<bool()> attempt,
                            const QString& line = {}) {
            const QStringList lines = line.isEmpty() ? QStringList() : QStringList(u"[WARN] registry: "_s + line);
            QTest::newRow(title) << std::move(breakIt) << std::move(attempt) << lines;
        };

        const auto denyReads = [] { SimulatedPc::denyReads(key); };
        const auto denyWrites = [] { SimulatedPc::denyWrites(key); };
        const auto failChange = [] { SimulatedPc::failChange(1); };
        const auto dword = [] { return writeDword(hkcu, scratchKey, name, 2); };
        const auto sz = [] { return writeString(hkcu, scratchKey, name, u"a"_s, false); };
        const auto erase = [] { return deleteValue(hkcu, scratchKey, name); };

        row("open", denyReads, readAnything, u"RegOpenKeyExW failed (5) for "_s + key);
        row(
            "size", [] { SimulatedPc::failQuery(key, name, QueryStage::Size, 1018); }, readAnything,
            u"RegQueryValueExW size failed (1018)"_s);
        row(
            "grown between the calls",
            [] { SimulatedPc::failQuery(key, name, QueryStage::Data, platform::codeMoreData); }, readAnything,
            u"RegQueryValueExW read failed (234)"_s);
        row(
            "gone between the calls",
            [] { SimulatedPc::failQuery(key, name, QueryStage::Data, platform::codeFileNotFound); }, readAnything,
            u"RegQueryValueExW read failed (2)"_s);
        row("create for a dword", denyWrites, dword, u"RegCreateKeyExW failed (5) for "_s + key);
        row("create for a string", denyWrites, sz, u"RegCreateKeyExW failed (5) for "_s + key);
        row("set dword", failChange, dword, u"RegSetValueExW(DWORD) failed (29) for %1 [Value]"_s.arg(key));
        row("set qword", failChange, [] { return writeQword(hkcu, scratchKey, name, 2); });
        row("set string", failChange, sz);
        row("set binary", failChange, [] { return writeBinary(hkcu, scratchKey, name, "a"); });
        row("open for deletion", denyWrites, erase);
        row("delete", failChange, erase);
        row("delete by writing", failChange, [] { return writeValue(hkcu, scratchKey, name, {}); });
    }

    void refusals()
    {
        QFETCH(std::function<void()>, breakIt);
        QFETCH(std::function<bool()>, attempt);
        const ScratchMachine machine;
        putRaw(name, {platform::regDword, dwordBytes(1)});
        const MachineImage before = TestMachine::image();
        breakIt();
        QVERIFY(!attempt());
        QTEST(machine.log.lines(), "lines");
        SimulatedPc::clearFaults();
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_RegistryFaults)
#include "tst_RegistryFaults.moc"
