#include "platform/simulated/tools/RegTool.h"

#include "platform/Registry.h"
#include "platform/simulated/RegistryDeletion.h"
#include "platform/simulated/RegistryPath.h"
#include "platform/simulated/RegistryText.h"

#include <QByteArray>

#include <iostream>
#include <optional>
#include <string>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

struct Options {
    QString operation; ///< "ADD"
    KeyName key;
    std::optional<QString> valueName; ///< Empty for the default value (/ve).
    bool allValues = false;
    bool recurse = false;
    bool force = false;
    quint32 type = regSz;
    std::optional<QString> data;
    QString separator = u"\\0"_s;
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
    const bool isQuery = operation == "QUERY"_L1;
    while (!rest.isEmpty()) {
        const QString option = rest.takeFirst().toLower();
        if (option == "/ve"_L1) {
            options.valueName = u""_s;
        } else if (option == "/va"_L1 && operation == "DELETE"_L1) {
            options.allValues = true;
        } else if (option == "/f"_L1 && !isQuery) {
            options.force = true;
        } else if (option == "/s"_L1 && isQuery) {
            options.recurse = true;
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
        } else if (option == "/s"_L1 && isAdd) {
            options.separator = rest.takeFirst();
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

bool confirm(const QString& question, const ToolOutput& output)
{
    if (output.out) {
        std::fputs(QString(question % "(Yes/No)? "_L1).toUtf8().constData(), output.out);
        std::fflush(output.out);
    }
    std::string answer;
    if (std::getline(std::cin, answer) && !answer.empty() && (answer[0] == 'y' || answer[0] == 'Y'))
        return true;
    output.line();
    output.line(u"The operation was canceled by the user."_s);
    return false;
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

/// Prints one key's values and goes down into its subkeys if asked to.
Win32Error printKey(const KeyName& name, bool recurse, const ToolOutput& output)
{
    RegistryKey key;
    if (const Win32Error code = RegistryKey::open(name.root, name.path, KeyAccess::Read, key);
        code != Win32Error::Success)
        return code;
    QStringList values;
    QStringList subkeys;
    if (const Win32Error code = key.valueNames(values); code != Win32Error::Success)
        return code;
    if (const Win32Error code = key.subkeyNames(subkeys); code != Win32Error::Success)
        return code;

    if (!recurse || !values.isEmpty())
        output.line();
    if (!values.isEmpty()) {
        output.line(longKeyName(name));
        for (const QString& valueName : values) {
            const Value value = readValue(key, valueName);
            if (value.code == Win32Error::Success)
                printValue(valueName, value, output);
        }
        if (!recurse)
            output.line();
    }
    for (const QString& subkey : subkeys) {
        const KeyName below{name.root, name.path.isEmpty() ? subkey : QString(name.path % u'\\' % subkey)};
        if (!recurse)
            output.line(longKeyName(below));
        // A subkey that denies reading doesn't end the listing.
        else
            (void)printKey(below, true, output);
    }
    return Win32Error::Success;
}

int query(const Options& options, const ToolOutput& output)
{
    if (!options.valueName) {
        const Win32Error code = printKey(options.key, options.recurse, output);
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
    const auto data = dataFromText(options.type, options.data.value_or(QString()), options.separator);
    if (setsValue && !data)
        return failSyntax(options.operation, u"Invalid syntax. Specify a valid numeric value for '/d'."_s, output);

    const QString name = options.valueName.value_or(QString());
    if (setsValue && !options.force) {
        RegistryKey key;
        if (RegistryKey::open(options.key.root, options.key.path, KeyAccess::Read, key) == Win32Error::Success
            && readValue(key, name).code == Win32Error::Success
            && !confirm(u"Value %1 exists, overwrite"_s.arg(shownName(name)), output))
            return 0;
    }

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

Win32Error removeAllValues(const KeyName& name)
{
    RegistryKey readable;
    if (const Win32Error code = RegistryKey::open(name.root, name.path, KeyAccess::Read, readable);
        code != Win32Error::Success)
        return code;
    QStringList values;
    if (const Win32Error code = readable.valueNames(values); code != Win32Error::Success)
        return code;
    RegistryKey key;
    Win32Error code = RegistryKey::open(name.root, name.path, KeyAccess::SetValue, key);
    for (const QString& value : values) {
        if (code == Win32Error::Success)
            code = key.deleteValue(value);
    }
    return code;
}

Win32Error removeValue(const KeyName& name, const QString& valueName)
{
    RegistryKey key;
    const Win32Error code = RegistryKey::open(name.root, name.path, KeyAccess::SetValue, key);
    return code == Win32Error::Success ? key.deleteValue(valueName) : code;
}

int remove(const Options& options, const ToolOutput& output)
{
    const QString question = options.valueName
        ? u"Delete the registry value %1"_s.arg(shownName(*options.valueName))
        : u"Permanently delete the registry key %1"_s.arg(longKeyName(options.key));
    if (!options.force && !confirm(question, output))
        return 0;

    Win32Error code = Win32Error::Success;
    if (options.allValues)
        code = removeAllValues(options.key);
    else if (options.valueName)
        code = removeValue(options.key, *options.valueName);
    else
        code = deleteKeyTree(options.key.root, options.key.path);
    return code == Win32Error::Success ? succeed(output) : failWith(code, output);
}

} // namespace

int runReg(const QStringList& arguments, const ToolOutput& output)
{
    const QString operation = arguments.value(0).toUpper();
    const auto run = operation == "QUERY"_L1 ? query
        : operation == "ADD"_L1              ? add
        : operation == "DELETE"_L1           ? remove
                                             : nullptr;
    if (!run || arguments.size() < 2)
        return failSyntax(run ? operation : QString(), u"Invalid syntax."_s, output);
    const auto key = parseKeyName(arguments[1]);
    if (!key)
        return failSyntax(operation, u"Invalid key name."_s, output);
    const auto options = parseOptions(operation, *key, arguments.sliced(2));
    if (!options)
        return failSyntax(operation, u"Invalid syntax."_s, output);
    return run(*options, output);
}

} // namespace torvelane::platform::simulated
