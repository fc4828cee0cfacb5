#pragma once

#include "platform/HResult.h"
#include "platform/Win32Error.h"
#include "platform/simulated/SimulatedPc.h"
#include "support/Suite.h"

/// What the suites that run on the simulated PC alone begin with.
using platform::HResult;
using platform::SimulatedPc;
using platform::Win32Error;
