#pragma once

#include <QString>

/// Who may do what with files of ours, as security descriptors in text form.
/// https://learn.microsoft.com/windows/win32/secauthz/security-descriptor-string-format
namespace torvelane::platform {

/// For a file that nobody else may even read. Owner: Administrators, for an owner may change the access list whatever
/// it says. Full access for the system and administrators, nothing from the folder (P).
inline const QString administratorsOnly = QStringLiteral("O:BAD:P(A;;FA;;;SY)(A;;FA;;;BA)");

/// The same for a directory, and for all that will be made in it (OICI).
inline const QString administratorsOnlyFolder = QStringLiteral("O:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)");

} // namespace torvelane::platform
