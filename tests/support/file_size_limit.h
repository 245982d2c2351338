// tests/support/file_size_limit.h — a disk that fills up: while `work` runs, no file of this process may
// grow past `bytes`, and a write beyond fails instead of raising SIGXFSZ. The log is flushed first so
// that its own writes are not the ones that fail.
#pragma once

#include <cstddef>
#include <functional>

// False where the system has no such limit (Windows): the work then runs without it.
bool gf_fileSizeLimitAvailable();
bool gf_withFileSizeLimit(size_t bytes, const std::function<bool()>& work);
