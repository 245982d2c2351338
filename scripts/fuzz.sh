#!/usr/bin/env bash
# Short, fixed-time fuzzing of the SimConnect receive framing, the simulator double's packet parser and the
# reader of LiveriesScanned.xml with the matching on what it read (libFuzzer, clang-14, with AddressSanitizer
# and UndefinedBehaviorSanitizer). Fails on a crash or leak.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-20}
CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZARK_FUZZ=ON -DZARK_BENCH=OFF \
  > /dev/null
cmake --build build-fuzz -j2 --target fuzz_receive_framing fuzz_simdouble_packets fuzz_liveries_file

mkdir -p build-fuzz/corpus/fuzz_liveries_file
cp tools/mkliveries/fuzz/seed_liveries.xml build-fuzz/corpus/fuzz_liveries_file/
for target in simdouble/fuzz_receive_framing simdouble/fuzz_simdouble_packets mkliveries/fuzz_liveries_file; do
  name=${target#*/}
  # Absolute paths: the liveries target works in a folder of its own.
  corpus="$PWD/build-fuzz/corpus/$name"
  mkdir -p "$corpus"
  echo "== $name for ${seconds} s =="
  ASAN_OPTIONS=detect_leaks=1 "build-fuzz/tools/$target" -max_total_time="$seconds" -max_len=4096 \
    -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$PWD/build-fuzz/" "$corpus"
done
