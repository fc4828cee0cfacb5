#include "ui/pages/TweakSummary.h"

#include "core/Translate.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/RegistryTweak.h"

#include <QStringList>

namespace torvelane {

namespace {

constexpr qsizetype shownLines = 8;
constexpr qsizetype shownLineLength = 110;

QString shownContent(const RegistryOperation& operation)
{
    switch (operation.kind) {
    case RegistryValueKind::Sz:
    case RegistryValueKind::ExpandSz:
        return QLatin1Char('"') + operation.text + QLatin1Char('"');
    case RegistryValueKind::Binary:
        return QString::fromLatin1(operation.bytes.toHex(' '));
    default:
        return QString::number(operation.number);
    }
}

QString shortened(const QString& line)
{
    return line.size() <= shownLineLength ? line : line.left(shownLineLength - 1) + QChar(u'…');
}

QString bulletList(const QString& heading, const QStringList& lines)
{
    QString text = heading;
    for (const QString& line : lines.first(std::min(lines.size(), shownLines)))
        text += QStringLiteral("\n• ") + shortened(line);
    if (lines.size() > shownLines)
        text += QLatin1Char('\n') + translate("TweakSummary", "… and %1 more").arg(lines.size() - shownLines);
    return text;
}

} // namespace

QString warningTooltip(const TweakDefinition& tweak)
{
    if (tweak.warning.isEmpty())
        return {};
    switch (tweak.effect) {
    case TweakEffect::AtOnce:
        break;
    case TweakEffect::AfterRestartingExplorer:
        return tweak.warning + QLatin1Char('\n') + translate("TweakSummary", "After restarting Explorer.");
    case TweakEffect::AfterSigningOut:
        return tweak.warning + QLatin1Char('\n') + translate("TweakSummary", "After signing out.");
    case TweakEffect::AfterRestart:
        return tweak.warning + QLatin1Char('\n') + translate("TweakSummary", "After a restart.");
    }
    return tweak.warning;
}

QString tweakSummary(const ITweak& tweak)
{
    QStringList lines;
    if (const auto* const registry = dynamic_cast<const RegistryTweak*>(&tweak)) {
        for (const RegistryOperation& operation : registry->operations()) {
            lines.append(QStringLiteral("%1\\%2\\%3 = %4")
                             .arg(hiveName(operation.hive), operation.path, operation.name, shownContent(operation)));
        }
        return bulletList(translate("TweakSummary", "Sets in the registry, and puts back on revert:"), lines);
    }
    if (const auto* const command = dynamic_cast<const CommandTweak*>(&tweak))
        return bulletList(translate("TweakSummary", "Runs these commands:"), command->applyCommands());
    return {};
}

} // namespace torvelane
