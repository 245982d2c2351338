#include "support/file_size_limit.h"

#include "frame/core/log.h"

#ifdef _WIN32

bool gf_fileSizeLimitAvailable() { return false; }
bool gf_withFileSizeLimit(size_t, const std::function<bool()>& work) { return work(); }

#else

#include <sys/resource.h>
#include <csignal>

bool gf_fileSizeLimitAvailable() { return true; }

bool gf_withFileSizeLimit(size_t bytes, const std::function<bool()>& work) {
    gf_flushLog();
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &small);
    const bool result = work();
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    return result;
}

#endif
