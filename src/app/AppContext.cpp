#include "app/AppContext.h"

#include "account/LocalAuthService.h"
#include "account/LocalLicenseService.h"
#include "account/TierWatcher.h"
#include "core/Log.h"
#include "core/Paths.h"
#include "net/ApiClient.h"
#include "optimizers/HeldValues.h"
#include "platform/SharedLogFile.h"
#include "restore/RestorePoint.h"
#include "system/UndoFile.h"
#include "tweaks/TweakEngine.h"

namespace torvelane {

namespace {

const QString category = QStringLiteral("app");
const QString catalogPath = QStringLiteral(":/tweaks.json");

} // namespace

AppContext::AppContext() = default;

AppContext::~AppContext()
{
    tierWatcher.reset();
    ValueLedger::setCurrent(nullptr);
    ledger.setChangeListener({});
    undoFile.reset();
    engine.reset();
    license.reset();
    auth.reset();
    api.reset();
    catalog.clear();
    store.close();
}

bool AppContext::init()
{
    if (!dataDirectory.prepare())
        return false;
    initLogging(LogLevel::Info, platform::openSharedLogFile);
    logMessage(LogLevel::Info, category, QStringLiteral("Torvelane starting"));
    dataDirectory.report();
    load();
    if (!store.open(Paths::stateDb())) {
        logMessage(LogLevel::Error, category, QStringLiteral("State store unavailable; apply/revert disabled"));
    }
    if (!catalog.load(catalogPath)) {
        logMessage(LogLevel::Warn, category, QStringLiteral("Could not load tweak catalog from ") + catalogPath);
    }
    api = std::make_unique<ApiClient>(apiBaseUrl);
    auth = std::make_unique<LocalAuthService>();
    license = std::make_unique<LocalLicenseService>(auth.get());
    engine = std::make_unique<TweakEngine>(&catalog, &store);
    engine->setRestorePointMaker(RestorePoint::createWithFallback);
    engine->setLedger(&ledger);
    optimizerHolds = std::make_unique<HeldValues>();
    ledger.attach(optimizerHolds.get());
    ledger.setOrderDrawer([this](const QString& holder) { return store.drawOrder(holder); });
    undoFile = std::make_unique<UndoFile>(ledger, Paths::undoFile());
    ledger.setChangeListener([this] { undoFile->request(); });
    ValueLedger::setCurrent(&ledger);
    tierWatcher = std::make_unique<TierWatcher>(auth.get(), license.get(), engine.get(), &tier);
    engine->recoverInterrupted();
    return true;
}

} // namespace torvelane
