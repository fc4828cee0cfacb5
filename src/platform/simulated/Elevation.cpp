#include "platform/Elevation.h"

#include "platform/simulated/store/Store.h"

namespace torvelane::platform {

using namespace simulated;

bool isElevated()
{
    Store* const store = Store::current();
    if (!store)
        return false;
    store->refreshConditions();
    return store->conditions().elevated;
}

QString currentUserName()
{
    Store* const store = Store::current();
    return store ? store->conditions().userName : QString();
}

QString currentUserId()
{
    return currentUserName();
}

} // namespace torvelane::platform
