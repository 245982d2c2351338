#!/usr/bin/env bash
# The main job: builds ZARK_P3D and its two test doubles, lays out a fresh install folder with the
# generated real-world data, and runs the program against a simulated Prepar3D v5 (a user aircraft
# standing at stand A15 of Zurich) and a traffic service replaying recorded Zurich flights.
# It closes the program like the close button does and prints what happened. Where a display is there (or
# under xvfb-run) the program shows its status window meanwhile.
#   scripts/demo.sh [--seconds N] [--fly]     (default 120 s; 240 s with --fly)
# --fly: 30 s after the start the user takes off, flies 32 nm east of Zurich at up to 9000 ft and comes
# back to his stand: the park airport is left when he is out of sight and taken up again on the way back.
#   scripts/demo.sh --scan [--seconds N]  first the livery scan on a made-up Prepar3D installation, then
#   the run on the scanned liveries (the simulator double knows their titles and no others) with add-on
#   airports from real BGL files in the simulator's scenery lists, scanned at its start
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$PWD

seconds=""
scenario="$repo/data/demo/simulator_lszh.json"
fly=0
scan=0
while [ $# -gt 0 ]; do
  case "$1" in
    --seconds) seconds="$2"; shift 2 ;;
    --fly) fly=1; scenario="$repo/data/demo/simulator_lszh_flight.json"; shift ;;
    --scan) scan=1; shift ;;
    *) echo "usage: scripts/demo.sh [--seconds N] [--fly | --scan]" >&2; exit 2 ;;
  esac
done
[ -n "$seconds" ] || seconds=$([ "$fly" = 1 ] && echo 240 || echo 120)

bash scripts/setup.sh
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs" --target ZARK_P3D simdouble trafficdouble_server updatedouble_server zark_install_fixture \
  fidelity

if [ "$scan" = 1 ]; then
  # The livery scan on a made-up Prepar3D installation, before the traffic run.
  cmake --build build -j"$jobs" --target mkscantree
  source scripts/demo_scan_liveries.sh
  demo_scan_liveries "$repo" "$repo/build/demo-scan"
fi

install_dir="$repo/build/demo-install"
rm -rf "$install_dir"
mkdir -p "$install_dir/docs" "$install_dir/input" "$install_dir/appdata/ZARK_P3D" "$install_dir/Prepar3D v5/Scenery"
cp -r build/install/input/. "$install_dir/input/"
mkdir -p "$install_dir/output"
if [ "$scan" = 1 ]; then
  # The traffic runs on what the scan found, and the simulator double knows exactly those titles.
  cp "$repo/build/demo-scan/output/LiveriesScanned.xml" "$install_dir/output/"
else
  cp build/install/output/LiveriesScanned.xml "$install_dir/output/"
fi
cp -r build/install/airports "$install_dir/"  # the stock airport files of LSZH, LFPG and LFBO
export XDG_CONFIG_HOME="$install_dir/appdata"
if [ "$scan" = 1 ]; then
  source scripts/demo_scan_airports.sh
  demo_scan_airports_layout "$install_dir"
fi

# Free loopback ports for the two doubles.
port_of() { python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1]); s.close()'; }
sim_port=$(port_of)
rt_port=$(port_of)
upd_port=$(port_of)

cat > "$install_dir/SimConnect.cfg" <<CFG
[SimConnect]
Protocol=IPv4
Address=127.0.0.1
Port=$sim_port
CFG
echo '{"license": "demo-license-key"}' > "$install_dir/RealTrafficKey.json"
cat > "$install_dir/appdata/ZARK_P3D/parameters.xml" <<XML
<?xml version="1.0"?>
<parameters>
	<parameter name="SIM_INSTALL_PATH" value="$install_dir/Prepar3D v5" />
	<parameter name="DBASE_VERSION" value="1.0.0" />
	<parameter name="AIG_VERSION" value="1.0.0" />
	<parameter name="ARCHIVE_VERSION" value="22.0.1" />
	<parameter name="SCAN_LIVERIES" value="false" />
</parameters>
XML

cleanup() {
  [ -n "${zark_pid:-}" ] && kill "$zark_pid" 2>/dev/null || true
  [ -n "${sim_pid:-}" ] && kill "$sim_pid" 2>/dev/null || true
  [ -n "${rt_pid:-}" ] && kill "$rt_pid" 2>/dev/null || true
  [ -n "${upd_pid:-}" ] && kill "$upd_pid" 2>/dev/null || true
}
trap cleanup EXIT

# The double runs in the install folder: it knows the titles of its output/LiveriesScanned.xml.
(cd "$install_dir" && exec "$repo/build/tools/simdouble/simdouble" --scenario "$scenario" \
  --port "$sim_port" --export "$install_dir/simulator-record.json" > "$install_dir/simdouble.out" 2>&1) &
sim_pid=$!
build/tools/trafficdouble/trafficdouble --port "$rt_port" --scenario data/tracks/LSZH_scenario.json \
  > "$install_dir/trafficdouble.out" 2>&1 &
rt_pid=$!
# The update server holds a newer database and newer registration codes; the archive is the one installed.
mkdir -p "$install_dir/airports/archive/ORBX" "$install_dir/airports/archive/thirdparty"
build/tools/updatedouble/updatedouble --root "$install_dir/update-server" --make-from build/install \
  --dbase 1.0.1 --aig 1.0.1 --archive 22.0.1 --port "$upd_port" > "$install_dir/updatedouble.out" 2>&1 &
upd_pid=$!
sleep 1

echo "== ZARK_P3D runs for $seconds s in $install_dir =="
# With a display (a desktop, or xvfb-run scripts/demo.sh) the program shows its status window.
if [ -n "${DISPLAY:-}" ]; then echo "   its window is on display $DISPLAY"; else echo "   headless: no DISPLAY"; fi
(cd "$install_dir" && ZARK_RT_URL="http://127.0.0.1:$rt_port" \
  ZARK_UPDATE_URL="http://127.0.0.1:$upd_port/downloads/" exec "$repo/build/ZARK_P3D") &
zark_pid=$!
sleep "$seconds"
echo "== closing ZARK_P3D (close button) =="
kill -INT "$zark_pid"
for _ in $(seq 1 300); do kill -0 "$zark_pid" 2>/dev/null || break; sleep 0.1; done
if kill -0 "$zark_pid" 2>/dev/null; then echo "ZARK_P3D did not end within 30 s" >&2; exit 1; fi
wait "$zark_pid" && zark_rc=0 || zark_rc=$?
zark_pid=""
kill -INT "$sim_pid"; wait "$sim_pid" || true; sim_pid=""
curl -s "http://127.0.0.1:$rt_port/control/requests" > "$install_dir/traffic-requests.json" || true
kill "$rt_pid"; wait "$rt_pid" 2>/dev/null || true; rt_pid=""
kill "$upd_pid"; wait "$upd_pid" 2>/dev/null || true; upd_pid=""

# The fidelity table of the recorded flights (four hours of replay in process, a few seconds): the
# summary takes its headline figures and counts its ground events beside the demo's own.
echo "== fidelity: the recorded flights through the engine and the simulator double =="
build/tools/fidelity/fidelity --out "$install_dir/fidelity" > "$install_dir/fidelity.out" 2>&1 ||
  echo "fidelity failed, see $install_dir/fidelity.out" >&2

# The summary fails the demo when one of its checks fails (the parked objects' checks among them); the
# scan's summary is printed in any case.
summary_rc=0
python3 scripts/demo_summary.py "$install_dir" "$zark_rc" "$fly" || summary_rc=$?
if [ "$scan" = 1 ]; then demo_scan_airports_summary "$install_dir" || summary_rc=1; fi
exit "$summary_rc"
