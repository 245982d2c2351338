#!/usr/bin/env bash
# The Windows stage of the test suite, after a Linux build of everything (ZARK_HOST_BUILD, build/ unless set):
# that build gives the input data the cross build cannot make itself, the Linux doubles and the test that
# drives the end-to-end run.
#   1. the libraries, cross-built from Debian's sources (cached: scripts/build-windows-deps.sh)
#   2. ZARK_P3D.exe, the test executables and the simulator double with MinGW-w64, warnings as errors
#   3. every test executable under Wine, in a private prefix under build-windows/
#   4. one end-to-end run of ZARK_P3D.exe under Wine against the Linux doubles (tests/frame/end_to_end_test)
#   5. the zip a user installs from (scripts/package-windows.sh)
# Each step prints its time; ZARK_WINDOWS_BUILD names another build folder.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=${ZARK_WINDOWS_BUILD:-build-windows}
host=${ZARK_HOST_BUILD:-build}
jobs=$(nproc 2>/dev/null || echo 2)
stage_start=$SECONDS
lf_took() { echo "windows: $1 took $((SECONDS - $2)) s"; }

for need in install/input/dbase.xml tests/test_frame tools/simdouble/simdouble tools/trafficdouble/trafficdouble; do
    if [ ! -e "$host/$need" ]; then
        echo "test-windows: $host/$need missing: build the Linux build $host first (ZARK_HOST_BUILD names another)" >&2
        exit 1
    fi
done

t=$SECONDS
echo "== Windows: libraries (Debian's sources, cross-built once per version) =="
bash scripts/build-windows-deps.sh
lf_took "libraries" "$t"

t=$SECONDS
echo "== Windows: build (MinGW-w64, warnings as errors) =="
launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZARK_BENCH=OFF -DZARK_HOST_INSTALL="$root/$host/install" "${launcher[@]}" \
    >/dev/null
cmake --build "$build" -j"$jobs"
lf_took "build" "$t"

t=$SECONDS
echo "== Windows: tests under Wine =="
# shellcheck source=scripts/wine-env.sh
source scripts/wine-env.sh "$build"
failed=()
passed=0
for exe in "$build"/tests/test_*.exe; do
    name=$(basename "$exe" .exe)
    if (cd "$build" && "$WINE" "tests/$name.exe" --gtest_brief=1); then
        passed=$((passed + 1))
    else
        failed+=("$name")
    fi
done
"$WINESERVER" -k 2>/dev/null || true
lf_took "tests under Wine" "$t"
if [ ${#failed[@]} -gt 0 ]; then
    echo "windows: failed under Wine: ${failed[*]}" >&2
    exit 1
fi
echo "windows: $passed test executables passed under Wine"

t=$SECONDS
echo "== Windows: end-to-end run of ZARK_P3D.exe under Wine =="
ZARK_E2E_WINDOWS_BUILD="$root/$build" "$host/tests/test_frame" --gtest_brief=1 \
    --gtest_filter='EndToEnd.ARunAgainstBothDoublesFromStartToTheCloseButton'
"$WINESERVER" -k 2>/dev/null || true
lf_took "end-to-end run" "$t"

t=$SECONDS
echo "== Windows: package =="
ZARK_WINDOWS_BUILD=$build bash scripts/package-windows.sh
lf_took "package" "$t"
lf_took "the Windows stage" "$stage_start"
