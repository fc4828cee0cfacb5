#pragma once

#include "platform/DirectoryProtection.h"
#include "platform/PrivateFiles.h"
#include "update/ReleaseFeed.h"

#include <QString>
#include <QStringList>

namespace torvelane {

/// Where an update comes from and where it goes.
struct UpdateSettings {
    QString feedUrl;
    QString publicKey; ///< The second line of a minisign public key file.
    QString currentVersion;
    QString programFile;       ///< The running executable; minisign.exe lies beside it.
    QString temporaryDir;      ///< The machine's folder for temporary files.
    int toolTimeoutMs = 30000; ///< For checking and listing; unpacking may take four times as long.
};

/// Brings one release from its addresses to a script that copies it over the installation. Nothing in the installation
/// changes before that script runs, and it doesn't start unless the archive's signature is right and what was unpacked is
/// what the archive lists. Used once, on any thread but the GUI's; blocks for as long as downloads and tools take.
///
/// Archive, unpacked files and script lie where nobody but administrators may change them, in folders that are new; the
/// archive is held as it is from before the check of its signature until it is unpacked.
class UpdateInstaller {
public:
    UpdateInstaller(UpdateSettings settings, Release release);

    /// Whether the script runs, so that this process has to end. Otherwise the reason is in the log, and the program may
    /// go on; the staging folder stays behind, and the next run clears it.
    [[nodiscard]] bool run();

private:
    [[nodiscard]] bool prepareStaging();
    [[nodiscard]] bool downloadArchive();
    [[nodiscard]] bool downloadSignature();
    [[nodiscard]] bool verifySignature() const;
    [[nodiscard]] bool listArchive();
    [[nodiscard]] bool extractArchive() const;
    [[nodiscard]] bool checkUnpacked() const;
    [[nodiscard]] QString findPayloadDir() const;
    [[nodiscard]] bool launchScript(const QString& payloadDir) const;
    [[nodiscard]] bool fail(const QString& text) const;

    const UpdateSettings m_settings;
    const Release m_release;
    const QString m_staging;
    const QString m_extracted;
    const QString m_archive;
    const QString m_signature;
    QStringList m_entries; ///< As the archive lists them.
    platform::DirectoryHold m_stagingHold;
};

} // namespace torvelane
