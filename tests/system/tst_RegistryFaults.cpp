#include "support/simulated/Suite.h"

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
        const auto fault = [&](const QString& call, Win32Error code = Win32Error::AccessDenied) {
            return [&key, call, code] { SimulatedPc::fail(call, code, {.part = key}); };
        };
        const auto denyWrites = fault(u"registry.openToWrite"_s);
        const auto failChange = fault(u"registry"_s, Win32Error::WriteFault);
        const struct {
            std::function<void()> breakIt;
            std::function<bool()> attempt;
            QString line;
        } rows[] = {
            {fault(u"registry.openToRead"_s), read, u"RegOpenKeyExW failed (5) for "_s + key},
            {fault(u"registry.querySize"_s), read, u"RegQueryValueExW size failed (5)"_s},
            {fault(u"registry.query"_s), read, u"RegQueryValueExW read failed (5)"_s},
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
