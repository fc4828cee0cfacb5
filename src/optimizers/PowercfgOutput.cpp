#include "optimizers/PowercfgOutput.h"

#include <QRegularExpression>

namespace torvelane::PowercfgOutput {

QString firstGuid(const QString& text)
{
    static const QRegularExpression expression(
        QStringLiteral("[0-9a-fA-F]{8}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{12}"));
    return expression.match(text).captured().toLower();
}

QList<PowerPlan> plans(const QString& text)
{
    static const QRegularExpression expression(
        QStringLiteral("([0-9a-fA-F]{8}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{12})"
                       "\\s*\\(([^)]*)\\)\\s*(\\*)?"));
    QList<PowerPlan> plans;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const QRegularExpressionMatch match = expression.match(line);
        if (match.hasMatch()) {
            plans.append({match.captured(1).toLower(), match.captured(2).trimmed(), !match.capturedView(3).isEmpty()});
        }
    }
    return plans;
}

PowerSettingValue settingValue(const QString& text)
{
    static const QRegularExpression expression(QStringLiteral("0x([0-9a-fA-F]{8})"));
    QList<int> numbers;
    auto matches = expression.globalMatch(text);
    while (matches.hasNext())
        numbers.append(matches.next().captured(1).toInt(nullptr, 16));
    if (numbers.size() < 2)
        return {};
    return {numbers.at(numbers.size() - 2), numbers.last()};
}

} // namespace torvelane::PowercfgOutput
