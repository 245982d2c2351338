#!/usr/bin/env bash
# Short, fixed-time fuzzing of the SimConnect receive framing, the simulator double's packet parser, the
# reader of LiveriesScanned.xml with the matching on what it read, the airport file reader, the add-on
# airport scan's readers of BGL files and scenery.cfg, the section walk of aircraft.cfg files and the
# add-on.xml reader (libFuzzer,
# clang-14, with AddressSanitizer and UndefinedBehaviorSanitizer). Fails on a crash or leak.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-20}
CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZARK_FUZZ=ON -DZARK_BENCH=OFF \
  > /dev/null
cmake --build build-fuzz -j2 --target fuzz_receive_framing fuzz_simdouble_packets fuzz_liveries_file fuzz_airport_file \
  fuzz_bgl_decoder fuzz_scenery_cfg fuzz_aircraft_cfg fuzz_addon_xml

# target, its folder in the build, a folder of seeds (or -)
for entry in "fuzz_receive_framing tools/simdouble -" "fuzz_simdouble_packets tools/simdouble -" \
            "fuzz_liveries_file tools/mkliveries tools/mkliveries/fuzz" \
            "fuzz_airport_file tools/mkairports tools/mkairports/fuzz/seeds" \
            "fuzz_bgl_decoder tools/bglcheck data/bgl" "fuzz_scenery_cfg tools/bglcheck tools/bglcheck/fuzz/scenery_seeds" \
            "fuzz_aircraft_cfg tools/mkscantree tools/mkscantree/fuzz/seeds_cfg" \
            "fuzz_addon_xml tools/mkscantree tools/mkscantree/fuzz/seeds_addon"; do
  read -r target dir seeds <<< "$entry"
  # Absolute paths: the liveries target works in a folder of its own.
  corpus="$PWD/build-fuzz/corpus/$target"
  mkdir -p "$corpus"
  if [ "$seeds" = "-" ]; then seeds=""; else seeds="$PWD/$seeds"; fi
  echo "== $target for ${seconds} s =="
  ASAN_OPTIONS=detect_leaks=1 "build-fuzz/$dir/$target" -max_total_time="$seconds" -max_len=4096 \
    -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$PWD/build-fuzz/" "$corpus" $seeds
done
