#!/usr/bin/env bash
# Short, fixed-time fuzzing of the SimConnect receive framing and the simulator double's packet parser
# (libFuzzer, clang-14, with AddressSanitizer and UndefinedBehaviorSanitizer). Fails on a crash or leak.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-20}
CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZARK_FUZZ=ON -DZARK_BENCH=OFF \
  > /dev/null
cmake --build build-fuzz -j2 --target fuzz_receive_framing fuzz_simdouble_packets

for target in fuzz_receive_framing fuzz_simdouble_packets; do
  corpus="build-fuzz/corpus/$target"
  mkdir -p "$corpus"
  echo "== $target for ${seconds} s =="
  ASAN_OPTIONS=detect_leaks=1 "build-fuzz/tools/simdouble/$target" -max_total_time="$seconds" -max_len=4096 \
    -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 "$corpus"
done
