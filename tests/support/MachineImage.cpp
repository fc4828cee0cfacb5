#include "support/TestMachine.h"

#include <QHash>

namespace torvelane::test {

namespace {

QString place(const MachineValue& value)
{
    return QStringLiteral("%1 [%2]").arg(value.keyPath, value.name).toLower();
}

QString shown(QLatin1String sign, const MachineValue& value)
{
    return QStringLiteral("%1 %2 [%3] type %4: %5")
        .arg(sign, value.keyPath, value.name, QString::number(value.type), QString::fromLatin1(value.data.toHex()));
}

} // namespace

QStringList differences(const MachineImage& before, const MachineImage& after)
{
    QHash<QString, const MachineValue*> expected;
    for (const MachineValue& value : before)
        expected.insert(place(value), &value);
    QStringList lines;
    for (const MachineValue& value : after) {
        const MachineValue* const old = expected.take(place(value));
        if (old && old->type == value.type && old->data == value.data)
            continue;
        if (old)
            lines.append(shown(QLatin1String("-"), *old));
        lines.append(shown(QLatin1String("+"), value));
    }
    for (const MachineValue* const value : std::as_const(expected))
        lines.append(shown(QLatin1String("-"), *value));
    lines.sort();
    return lines;
}

bool fullRun()
{
    return qEnvironmentVariableIsSet("TORVELANE_FULL");
}

} // namespace torvelane::test
