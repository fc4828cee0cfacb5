#pragma once

#include <algorithm>
#include <csignal>
#include <sys/resource.h>

namespace torvelane::test {

/// Has every write of this process fail that would end behind `freeBytes` of its file, as on a full disk, until it is
/// lifted with RLIM_INFINITY.
inline void fillDisk(rlim_t freeBytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(freeBytes, limit.rlim_max);
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace torvelane::test
