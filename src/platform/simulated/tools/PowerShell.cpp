#include "platform/Elevation.h"
#include "platform/Registry.h"
#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/registry/RegistryPath.h"
#include "platform/simulated/registry/RegistryText.h"
#include "platform/simulated/tools/Tool.h"
#include "platform/simulated/tools/ToolLanguage.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

/// Disable-MMAgent and Enable-MMAgent -MemoryCompression.
int setMemoryCompression(const QRegularExpressionMatch& match)
{
    return Calls::run({u"memory.setCompression"_s, {match.captured(1)}}, [&match](QJsonObject& memory) {
        memory[u"compression"] = match.captured(1) == "Enable"_L1;
        return 0;
    });
}

void setWhereItIs(const KeyName& name, const QStringList& valueNames, quint32 number)
{
    RegistryKey key;
    QStringList here;
    QStringList subkeys;
    if (RegistryKey::open(name.root, name.path, KeyAccess::Read, key) != Win32Error::Success
        || key.valueNames(here) != Win32Error::Success || key.subkeyNames(subkeys) != Win32Error::Success)
        return;
    RegistryKey writable;
    for (const QString& value : valueNames) {
        if (!here.contains(value, Qt::CaseInsensitive))
            continue;
        const QByteArray data = dwordData(number);
        if (RegistryKey::open(name.root, name.path, KeyAccess::SetValue, writable) == Win32Error::Success)
            std::ignore = writable.setValue(value, regDword, std::as_bytes(std::span(data.constData(), 4)));
    }
    for (const QString& subkey : std::as_const(subkeys))
        setWhereItIs({name.root, name.path + u'\\' + subkey}, valueNames, number);
}

/// Sets values of the given names, where there are such, in every key below one.
int setBelow(const QRegularExpressionMatch& match)
{
    const auto key = parseKeyName(match.captured(2).remove(u':'));
    const QString names = match.captured(1);
    if (!key)
        return 1;
    setWhereItIs(*key, names.sliced(1).chopped(1).split("','"_L1), match.captured(3).toUInt());
    return 0;
}

struct Script {
    QRegularExpression pattern;
    int (*run)(const QRegularExpressionMatch&);
};

const std::array<Script, 3>& scripts()
{
    static const std::array<Script, 3> scripts = {
        Script{QRegularExpression(u"^Clear-RecycleBin -Force -ErrorAction SilentlyContinue$"_s),
               [](const QRegularExpressionMatch&) {
                   return Calls::run({u"recycleBin.empty"_s, {}}, [](QJsonObject&) { return 0; });
               }},
        Script{QRegularExpression(u"^(Disable|Enable)-MMAgent -MemoryCompression$"_s), setMemoryCompression},
        Script{QRegularExpression(
                   uR"(^\$n=([\w',]+); Get-ChildItem -Path '([^']+)' -Recurse -ErrorAction SilentlyContinue \| )"
                   uR"(ForEach-Object \{ \$k=\$_; foreach\(\$v in \$n\)\{ if\(\$k\.GetValue\(\$v,\$null\) -ne \$null\))"
                   uR"(\{ Set-ItemProperty -Path \$k\.PSPath -Name \$v -Value (\d+) -Type DWord )"
                   uR"(-ErrorAction SilentlyContinue \} \} \}$)"_s),
               setBelow},
    };
    return scripts;
}

const QString enableRestore = u"Enable-ComputerRestore -Drive 'C:\\'"_s;

/// Switches System Protection on, which Windows remembers as an interval.
int enableComputerRestore(const ToolOutput& output)
{
    RegistryKey key;
    const QString path = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\SystemRestore"_s;
    const QByteArray one = dwordData(1);
    if (isElevated() && RegistryKey::create(RootKey::LocalMachine, path, key) == Win32Error::Success
        && key.setValue(u"RPSessionInterval"_s, regDword, std::as_bytes(std::span(one.constData(), 4)))
            == Win32Error::Success)
        return 0;
    output.error(inLanguage(u"Enable-ComputerRestore : Access denied"_s, u"Enable-ComputerRestore : Accès refusé"_s));
    output.error(inLanguage(u"At line:1 char:1"_s, u"Au caractère Ligne:1 : 1"_s));
    output.error("+ "_L1 + enableRestore);
    output.error("+ "_L1 + QString(enableRestore.size(), u'~'));
    output.error(u"    + CategoryInfo          : InvalidArgument: (:) [Enable-ComputerRestore], ManagementException"_s);
    output.error(u"    + FullyQualifiedErrorId : ManagementException,"
                 "Microsoft.PowerShell.Commands.EnableComputerRestoreCommand"_s);
    output.error(u" "_s);
    return 1;
}

} // namespace

/// powershell.exe -NoProfile -NonInteractive -Command "Enable-ComputerRestore -Drive 'C:\'", or
/// powershell.exe -NoProfile [-ExecutionPolicy Bypass] -Command, with one of the scripts that the catalogue runs.
int runPowerShell(const ToolRun& run)
{
    if (run.arguments == QStringList{u"-NoProfile"_s, u"-NonInteractive"_s, u"-Command"_s, enableRestore})
        return enableComputerRestore(run.output);
    static const QRegularExpression options(u"^-NoProfile( -ExecutionPolicy Bypass)? -Command$"_s);
    if (run.arguments.size() < 3 || !options.match(run.arguments.first(run.arguments.size() - 1).join(u' ')).hasMatch())
        return failUnknown(u"powershell.exe"_s, run);
    for (const Script& script : scripts()) {
        if (const auto match = script.pattern.match(run.arguments.constLast()); match.hasMatch())
            return script.run(match);
    }
    return failUnknown(u"powershell.exe"_s, run);
}

} // namespace torvelane::platform::simulated
