# The livery half of `scripts/demo.sh --scan` (sourced): lays out a made-up Prepar3D v5 installation
# from the real aircraft.cfg samples of data/aircraftcfg under the build folder (the simulator's own
# SimObjects folders with simobjects.cfg, add-on packages with add-on.xml listed in add-ons.cfg, one
# switched off, one in the discovery folder of the documents), runs the automatic livery scan on it and
# prints the liveries found and the lines of each report file.
#   demo_scan_liveries <repo> <install folder>   (needs the targets mkscantree and zark_install_fixture)
demo_scan_liveries() {
  local repo=$1 install=$2
  rm -rf "$install"
  mkdir -p "$install/input"
  cp -r "$repo/build/install/input/." "$install/input/"
  "$repo/build/tools/mkscantree/mkscantree" layout "$install"
  echo "== livery scan of the made-up installation in $install =="
  XDG_CONFIG_HOME="$install/appdata" XDG_DATA_HOME="$install/programdata" HOME="$install/documents" \
    "$repo/build/tools/mkscantree/mkscantree" scan "$install"
  grep -E "AI add-on packages found|liveries found in|^No liveries" "$install/Log.txt" | sed 's/^/  log: /'
}
