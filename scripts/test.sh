#!/usr/bin/env bash
# The full test suite: setup, a format check, a plain build with warnings as errors and all tests, the
# Windows build with its tests under Wine (scripts/test-windows.sh), then the same tests again in a build
# with AddressSanitizer and UndefinedBehaviorSanitizer, the tests of the threaded subsystems under
# ThreadSanitizer, and a short fuzzing run.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)

echo "== format (the project's .clang-format) =="
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror
else
  find common frame service simlink engine parking airports liveries platform tools tests bench main.cpp \
    \( -name '*.cpp' -o -name '*.h' \) -print0 | xargs -0 clang-format --dry-run -Werror
fi

echo "== layering (subsystems use only the frame's services, frame/core/) =="
if grep -rnE '#include "frame/[A-Za-z_]+\.h"' common service simlink engine parking airports liveries platform; then
  echo "the lines above include the frame's orchestration; only frame/core/ is the subsystems'" >&2
  exit 1
fi

echo "== Windows sources (cross compiler, syntax only) =="
bash scripts/check-windows.sh

# The plain build is the Release build a user gets: its inlining finds warnings (-Warray-bounds and the
# like) that the other builds do not. It has a folder of its own, so build/ stays the developers'.
echo "== plain build (Release) =="
cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release
cmake --build build-release -j"$jobs"
ctest --test-dir build-release --output-on-failure -j"$jobs"
# The Linux window's screenshot test is registered with ctest only where xvfb-run exists.
if ! command -v xvfb-run >/dev/null; then
  echo "window_screenshot skipped: xvfb-run not found (package xvfb, scripts/setup.sh installs it)"
fi

# The Windows build: ZARK_P3D.exe and its tests under Wine, an end-to-end run of the program under Wine
# against the Linux doubles of the plain build, the zip. Not yet part of every run: it has not passed in
# one piece (see the README). ZARK_WINDOWS_STAGE=1 runs it.
if [ "${ZARK_WINDOWS_STAGE:-0}" = 1 ]; then
  echo "== Windows stage =="
  ZARK_HOST_BUILD=build-release bash scripts/test-windows.sh
fi

echo "== sanitizer build (ASan + UBSan) =="
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DZARK_SANITIZE=ON -DZARK_BENCH=OFF
cmake --build build-asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-asan --output-on-failure -j"$jobs"

echo "== thread sanitizer build (the subsystems with threads of their own) =="
cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZARK_TSAN=ON -DZARK_BENCH=OFF
cmake --build build-tsan -j"$jobs" --target test_common test_frame test_service test_simlink \
  ZARK_P3D simdouble trafficdouble_server
for t in test_common test_frame test_service test_simlink; do
  (cd build-tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 "./tests/$t" --gtest_brief=1)
done

if [ -x scripts/fuzz.sh ]; then
  echo "== fuzzing (short, fixed time) =="
  bash scripts/fuzz.sh
fi
