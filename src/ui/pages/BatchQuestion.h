#pragma once

#include <QStringList>

namespace torvelane {

class TweakCatalog;

/// What a person has to know before these entries are applied all at once: which of them warn, which can't be undone, and
/// which set one value to different contents, among themselves or with an entry that is applied already. One text in the
/// user's language; empty if there is nothing to say.
[[nodiscard]] QString batchQuestion(const TweakCatalog& catalog, const QStringList& ids, const QStringList& applied);

} // namespace torvelane
