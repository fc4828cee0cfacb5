#pragma once

#include "app/DataDirectory.h"
#include "core/AppConfig.h"
#include "core/Tier.h"
#include "system/ValueLedger.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"

#include <memory>

namespace torvelane {

class ApiClient;
class AuthService;
class HeldValues;
class LicenseService;
class TierWatcher;
class TweakEngine;
class UndoFile;

/// The root of the program: lives on main's stack for the whole run and is passed by reference to all who need it. Main
/// thread only, but for what a member says of itself. The configuration is its base.
class AppContext : public AppConfig {
public:
    AppContext();
    ~AppContext();
    AppContext(const AppContext&) = delete;
    AppContext& operator=(const AppContext&) = delete;

    /// Brings everything up in order and puts back the changes that an earlier run left half done. False only if the
    /// data directory can't be made; a log, configuration, database or catalogue that fails is logged and survived.
    [[nodiscard]] bool init();

    DataDirectory dataDirectory; ///< First, so that it is let go of last.
    Tier tier = Tier::None;      ///< The current tier: written by the account layer, read by all others.
    StateStore store;
    TweakCatalog catalog;
    std::unique_ptr<ApiClient> api;
    ValueLedger ledger;                         ///< Where all modules say and ask who holds which registry value.
    std::unique_ptr<HeldValues> optimizerHolds; ///< What the ledger knows of the optimisers.
    std::unique_ptr<UndoFile> undoFile;         ///< Kept up with the ledger.
    std::unique_ptr<AuthService> auth;
    std::unique_ptr<LicenseService> license;
    std::unique_ptr<TweakEngine> engine;
    std::unique_ptr<TierWatcher> tierWatcher;
};

} // namespace torvelane
