#include "platform/Elevation.h"

#include "platform/simulated/Machine.h"

namespace torvelane::platform {

using namespace simulated;

bool isElevated()
{
    Machine* const machine = Machine::current();
    if (!machine)
        return false;
    machine->refreshConditions();
    return machine->conditions().elevated;
}

QString currentUserName()
{
    Machine* const machine = Machine::current();
    return machine ? machine->conditions().userName : QString();
}

QString currentUserId()
{
    return currentUserName();
}

} // namespace torvelane::platform
