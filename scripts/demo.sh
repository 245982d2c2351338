#!/usr/bin/env bash
# The main job: builds ZARK_P3D and runs it in a fresh install folder under build/.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs" --target ZARK_P3D

install_dir="$PWD/build/demo-install"
rm -rf "$install_dir"
mkdir -p "$install_dir/docs" "$install_dir/input"
if [ -d build/install/input ]; then cp -r build/install/input/. "$install_dir/input/"; fi
export XDG_CONFIG_HOME="$install_dir/appdata"
mkdir -p "$XDG_CONFIG_HOME"

cd "$install_dir"
echo "== first start in $install_dir =="
"$OLDPWD/build/ZARK_P3D" || true
echo "== second start (the log rotates) =="
"$OLDPWD/build/ZARK_P3D" || true

echo
echo "Log.txt:";            head -n 12 Log.txt
echo "...";                 echo
echo "Log0.txt (previous run) exists: $([ -f Log0.txt ] && echo yes || echo no)"
echo "parameters.xml: $XDG_CONFIG_HOME/ZARK_P3D/parameters.xml ($(grep -c '<parameter ' "$XDG_CONFIG_HOME/ZARK_P3D/parameters.xml") parameters)"
