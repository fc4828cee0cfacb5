#include "ui/pages/BatchQuestion.h"

#include "core/Translate.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/TweakCatalog.h"

#include <QMap>
#include <QSet>

namespace torvelane {

namespace {

void addList(QString& text, const QString& heading, const QStringList& lines)
{
    if (lines.isEmpty())
        return;
    if (!text.isEmpty())
        text += QStringLiteral("\n\n");
    text += heading;
    for (const QString& line : lines)
        text += QStringLiteral("\n•\u00A0") + line;
}

bool isOneTime(const TweakCatalog& catalog, const QString& id)
{
    const std::shared_ptr<ITweak> tweak = catalog.implementation(id);
    const auto* const command = dynamic_cast<const CommandTweak*>(tweak.get());
    return command && command->isOneTime();
}

/// What the entries want of one value of the registry.
struct Wishes {
    QStringList ids;
    QSet<QString> contents;
};

QString contentOf(const RegistryOperation& operation)
{
    return QStringLiteral("%1|%2|%3|%4")
        .arg(static_cast<int>(operation.kind))
        .arg(operation.number)
        .arg(operation.text, QString::fromLatin1(operation.bytes.toHex()));
}

/// The names of entries that undo each other, a line for each value that they set differently.
QStringList rivals(const TweakCatalog& catalog, const QStringList& ids, const QStringList& applied)
{
    QMap<QString, Wishes> values;
    for (const QString& id : applied + ids) {
        const std::shared_ptr<ITweak> tweak = catalog.implementation(id);
        const auto* const registry = dynamic_cast<const RegistryTweak*>(tweak.get());
        if (!registry)
            continue;
        for (const RegistryOperation& operation : registry->operations()) {
            Wishes& wishes = values[RegistryTweak::restoreKey(operation.hive, operation.path, operation.name)];
            wishes.ids.append(id);
            wishes.contents.insert(contentOf(operation));
        }
    }
    QStringList lines;
    for (const Wishes& wishes : std::as_const(values)) {
        const bool concernsBatch =
            std::ranges::any_of(wishes.ids, [&ids](const QString& id) { return ids.contains(id); });
        if (wishes.contents.size() < 2 || !concernsBatch)
            continue;
        QStringList names;
        for (const QString& id : wishes.ids)
            names.append(catalog.find(id).name);
        if (const QString line = names.join(QStringLiteral(" · ")); !lines.contains(line))
            lines.append(line);
    }
    return lines;
}

} // namespace

QString batchQuestion(const TweakCatalog& catalog, const QStringList& ids, const QStringList& applied)
{
    QStringList warnings;
    QStringList oneTime;
    for (const QString& id : ids) {
        const TweakDefinition tweak = catalog.find(id);
        if (!tweak.warning.isEmpty())
            warnings.append(QStringLiteral("%1: %2").arg(tweak.name, tweak.warning));
        if (isOneTime(catalog, id))
            oneTime.append(tweak.name);
    }
    QString text;
    addList(text, translate("BatchQuestion", "These have a warning:"), warnings);
    addList(text, translate("BatchQuestion", "These act once, with nothing to undo afterwards:"), oneTime);
    addList(text, translate("BatchQuestion", "These set the same value, so that only the last one counts:"),
            rivals(catalog, ids, applied));
    return text;
}

} // namespace torvelane
