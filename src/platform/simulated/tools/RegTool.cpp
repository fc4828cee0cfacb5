#include "platform/Registry.h"
#include "platform/simulated/registry/RegistryDeletion.h"
#include "platform/simulated/registry/RegistryPath.h"
#include "platform/simulated/registry/RegistryText.h"
#include "platform/simulated/tools/Tool.h"

#include <QByteArray>

#include <optional>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

struct Options {
    QString operation; ///< "ADD"
    KeyName key;
    std::optional<QString> valueName; ///< Empty for the default value (/ve).
    bool force = false;
    quint32 type = regSz;
    std::optional<QString> data;
};

int failSyntax(const QString& operation, const QString& what, const ToolOutput& output)
{
    output.error(u"ERROR: %1"_s.arg(what));
    output.error(u"Type \"REG %1/?\" for usage."_s.arg(operation.isEmpty() ? QString() : QString(operation % u' ')));
    return 1;
}

int failWith(Win32Error code, const ToolOutput& output)
{
    if (code == Win32Error::FileNotFound)
        output.error(u"ERROR: The system was unable to find the specified registry key or value."_s);
    else if (code == Win32Error::AccessDenied)
        output.error(u"ERROR: Access is denied."_s);
    else
        output.error(u"ERROR: The registry answered with code %1."_s.arg(toNumber(code)));
    return 1;
}

/// reg.exe asks without /f, and Torvelane's tools have nobody to answer.
int failQuestion(const ToolOutput& output)
{
    output.error(u"The simulated reg.exe doesn't ask: /f is missing."_s);
    return 1;
}

int succeed(const ToolOutput& output)
{
    output.line(u"The operation completed successfully."_s);
    return 0;
}

/// Reads the options behind the key. Absent if one is unknown, lacks its text or doesn't belong to the operation.
std::optional<Options> parseOptions(const QString& operation, const KeyName& key, QStringList rest)
{
    Options options;
    options.operation = operation;
    options.key = key;
    const bool isAdd = operation == "ADD"_L1;
    while (!rest.isEmpty()) {
        const QString option = rest.takeFirst().toLower();
        if (option == "/ve"_L1) {
            options.valueName = u""_s;
        } else if (option == "/f"_L1 && operation != "QUERY"_L1) {
            options.force = true;
        } else if (rest.isEmpty()) {
            return std::nullopt;
        } else if (option == "/v"_L1) {
            options.valueName = rest.takeFirst();
        } else if (option == "/t"_L1 && isAdd) {
            const auto type = typeFromName(rest.takeFirst());
            if (!type)
                return std::nullopt;
            options.type = *type;
        } else if (option == "/d"_L1 && isAdd) {
            options.data = rest.takeFirst();
        } else {
            return std::nullopt;
        }
    }
    return options;
}

QString shownName(const QString& name)
{
    return name.isEmpty() ? u"(Default)"_s : name;
}

struct Value {
    Win32Error code = Win32Error::FileNotFound;
    quint32 type = 0;
    QByteArray data;
};

Value readValue(const RegistryKey& key, const QString& name)
{
    Value value;
    quint32 sizeBytes = 0;
    value.code = key.querySize(name, value.type, sizeBytes);
    if (value.code != Win32Error::Success)
        return value;
    value.data.resize(sizeBytes);
    value.code =
        key.query(name, std::as_writable_bytes(std::span(value.data.data(), sizeBytes)), value.type, sizeBytes);
    return value;
}

void printValue(const QString& name, const Value& value, const ToolOutput& output)
{
    output.line(u"    %1    %2    %3"_s.arg(shownName(name), typeName(value.type), dataText(value.type, value.data)));
}

/// Prints one key's values and the names of its subkeys.
Win32Error printKey(const KeyName& name, const ToolOutput& output)
{
    RegistryKey key;
    QStringList values;
    QStringList subkeys;
    Win32Error code = RegistryKey::open(name.root, name.path, KeyAccess::Read, key);
    if (code == Win32Error::Success)
        code = key.valueNames(values);
    if (code == Win32Error::Success)
        code = key.subkeyNames(subkeys);
    if (code != Win32Error::Success)
        return code;

    output.line();
    if (!values.isEmpty()) {
        output.line(longKeyName(name));
        for (const QString& valueName : values) {
            const Value value = readValue(key, valueName);
            if (value.code == Win32Error::Success)
                printValue(valueName, value, output);
        }
        output.line();
    }
    for (const QString& subkey : subkeys)
        output.line(longKeyName({name.root, name.path % u'\\' % subkey}));
    return Win32Error::Success;
}

int query(const Options& options, const ToolOutput& output)
{
    if (!options.valueName) {
        const Win32Error code = printKey(options.key, output);
        return code == Win32Error::Success ? 0 : failWith(code, output);
    }

    RegistryKey key;
    const Win32Error code = RegistryKey::open(options.key.root, options.key.path, KeyAccess::Read, key);
    if (code != Win32Error::Success)
        return failWith(code, output);
    const Value value = readValue(key, *options.valueName);
    const bool isUnsetDefault = value.code == Win32Error::FileNotFound && options.valueName->isEmpty();
    if (value.code != Win32Error::Success && !isUnsetDefault)
        return failWith(value.code, output);
    output.line();
    output.line(longKeyName(options.key));
    if (isUnsetDefault)
        output.line(u"    (Default)    REG_SZ    (value not set)"_s);
    else
        printValue(*options.valueName, value, output);
    output.line();
    return 0;
}

int add(const Options& options, const ToolOutput& output)
{
    const bool setsValue = options.valueName || options.data;
    const auto data = dataFromText(options.type, options.data.value_or(QString()));
    if (setsValue && !data)
        return failSyntax(options.operation, u"Invalid syntax. Specify a valid numeric value for '/d'."_s, output);
    if (setsValue && !options.force)
        return failQuestion(output);

    const QString name = options.valueName.value_or(QString());
    RegistryKey key;
    if (const Win32Error code = RegistryKey::create(options.key.root, options.key.path, key);
        code != Win32Error::Success)
        return failWith(code, output);
    if (setsValue) {
        const auto bytes = std::as_bytes(std::span(data->constData(), static_cast<std::size_t>(data->size())));
        if (const Win32Error code = key.setValue(name, options.type, bytes); code != Win32Error::Success)
            return failWith(code, output);
    }
    return succeed(output);
}

Win32Error removeValue(const KeyName& name, const QString& valueName)
{
    RegistryKey key;
    const Win32Error code = RegistryKey::open(name.root, name.path, KeyAccess::SetValue, key);
    return code == Win32Error::Success ? key.deleteValue(valueName) : code;
}

int remove(const Options& options, const ToolOutput& output)
{
    if (!options.force)
        return failQuestion(output);
    const Win32Error code = options.valueName ? removeValue(options.key, *options.valueName)
                                              : deleteKeyTree(options.key.root, options.key.path);
    return code == Win32Error::Success ? succeed(output) : failWith(code, output);
}

} // namespace

/// reg.exe: `query` of one key or value, `add` and `delete` on the simulated registry, with reg.exe's messages and exit
/// codes. https://learn.microsoft.com/windows-server/administration/windows-commands/reg
int runReg(const ToolRun& tool)
{
    const QString operation = tool.arguments.value(0).toUpper();
    const auto run = operation == "QUERY"_L1 ? query
        : operation == "ADD"_L1              ? add
        : operation == "DELETE"_L1           ? remove
                                             : nullptr;
    if (!run || tool.arguments.size() < 2)
        return failSyntax(run ? operation : QString(), u"Invalid syntax."_s, tool.output);
    const auto key = parseKeyName(tool.arguments[1]);
    if (!key)
        return failSyntax(operation, u"Invalid key name."_s, tool.output);
    const auto options = parseOptions(operation, *key, tool.arguments.sliced(2));
    if (!options)
        return failSyntax(operation, u"Invalid syntax."_s, tool.output);
    return run(*options, tool.output);
}

} // namespace torvelane::platform::simulated
