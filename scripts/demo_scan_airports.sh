# The airport half of `scripts/demo.sh --scan`, sourced by it: a Prepar3D v5 whose scenery lists name
# add-on airports built from the real BGL files in data/bgl, and the summary of what the airport scan made
# of them. The program's start runs the scan (SCAN_AIRPORTS and AFG_AUTOMATIC are true on a fresh install).
#   demo_scan_airports_layout INSTALL_DIR   before the program starts; exports XDG_DATA_HOME
#   demo_scan_airports_summary INSTALL_DIR  after it ended

demo_scan_airports_layout() {
  local install_dir=$1 repo
  repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
  local bgl="$repo/data/bgl"
  # The Linux build reads the simulator's scenery lists from $XDG_DATA_HOME instead of C:\ProgramData.
  export XDG_DATA_HOME="$install_dir/programdata"
  local simdata="$XDG_DATA_HOME/Lockheed Martin/Prepar3D v5"
  local addons="$install_dir/Addon Scenery"
  mkdir -p "$simdata" "$addons/ORBX_LEAR/scenery" "$addons/LEAB ARV187/scenery" "$addons/LEAB ARV187/statics" \
    "$addons/KTST/scenery" "$install_dir/Prepar3D v5/Scenery/0601/scenery"
  # An ORBX airport whose archived file knows fewer stands than this version of the add-on has: linked,
  # and generated beside the link for offline learning.
  cp "$bgl/LEAR_ADEX_ARV187.bgl" "$addons/ORBX_LEAR/scenery/"
  # An airport of a publisher the program does not know: generated, with the BGL's path in the file.
  cp "$bgl/LEAB_ADEP5_ARV187.bgl" "$addons/LEAB ARV187/scenery/"
  # A damaged file under a "statics" folder: never opened.
  head -c 3000 "$bgl/LEAB_ADEP5_ARV187.bgl" > "$addons/LEAB ARV187/statics/objects.bgl"
  # An add-on switched off in scenery.cfg, and a file in the stock scenery: neither is read.
  cp "$bgl/KTST_TestAirport_v5.BGL" "$addons/KTST/scenery/"
  cp "$bgl/LEAB_ADEP4_ARV187.bgl" "$install_dir/Prepar3D v5/Scenery/0601/scenery/"

  # scenery.cfg: the simulator's own areas, the two add-ons by scenery.cfg, the switched-off one.
  cat > "$simdata/scenery.cfg" <<CFG
[General]
Title=Prepar3D Scenery
Clean_on_Exit=TRUE

[Area.001]
Title=Default Terrain
Local=Scenery\World
Layer=1
Active=TRUE
Required=TRUE

[Area.002]
Title=Stock airports
Local=$install_dir/Prepar3D v5/Scenery
Layer=2
Active=TRUE

[Area.003]
Title=ORBX LEAR
Local=$addons/ORBX_LEAR
Layer=3
Active=TRUE

[Area.004]
Title=KTST test field
Local=$addons/KTST
Layer=4
Active=FALSE
CFG
  # scenery_add-ons.xml: the add-on package of LEAB, as the simulator lists the packages' scenery.
  cat > "$simdata/scenery_add-ons.xml" <<XML
<?xml version="1.0" encoding="utf-8"?>
<SceneryAddons>
  <SceneryAddon>
    <Path>$addons/LEAB ARV187</Path>
    <Layer>5</Layer>
  </SceneryAddon>
</SceneryAddons>
XML

  # The archived ORBX file of LEAR: the airport as an older version of the add-on had it, 18 stands.
  python3 - "$bgl/expected_stands.csv" "$install_dir/airports/archive/ORBX/LEAR.xml" <<'PY'
import csv, os, sys
rows = [r for r in csv.DictReader(open(sys.argv[1])) if r["file"] == "LEAR_ADEX_ARV187.bgl" and r["kind"] != "heli"][:18]
os.makedirs(os.path.dirname(sys.argv[2]), exist_ok=True)
with open(sys.argv[2], "w") as out:
    out.write('<?xml version="1.0"?>\n<parameters>\n\t<parameter name="airport_name" value="Argavirtual" />\n'
              '\t<parameter name="publisher" value="ORBX" />\n\t<parameter name="altitude" value="2461" />\n'
              '\t<parameter name="num_parkpos" value="%d" />\n</parameters>\n<parkpositions>\n' % len(rows))
    for r in rows:
        out.write('\t<parkpos id="%s" latitude="%s" longitude="%s" heading="%s" radius="%s" cargo="false" ramp="true" />\n'
                  % (r["stand"], r["latitude"], r["longitude"], r["heading_deg"], r["radius_m"]))
    out.write("</parkpositions>\n")
PY
}

demo_scan_airports_summary() {
  local install_dir=$1
  echo "== add-on airport scan =="
  local report="$install_dir/output/info/AirportsScanLog.txt"
  if [ ! -f "$report" ]; then
    echo "no airport scan report ($report)"
    return 1
  fi
  grep -E "Scanning for addon airports in|linked to|Generated|parkpos while|Exception" "$report" \
    | sed "s|$install_dir/||g; s|^|  |"
  python3 - "$install_dir/airports" <<'PY'
import pathlib, re, sys
root = pathlib.Path(sys.argv[1])
for folder in ("my_ORBX", "my_thirdparty"):
    for f in sorted((root / folder).glob("*")):
        text = f.read_text(errors="replace")
        if f.suffix == ".txt":
            print("  %-14s %s -> %s" % (folder, f.stem, text.strip().replace(str(root.parent) + "/", "")))
        else:
            n = re.search(r'name="num_parkpos" value="(\d+)"', text)
            helis = text.count('heli="true"')
            print("  %-14s %s: %s stands (%d helipad%s), %s" % (folder, f.stem, n.group(1) if n else "?", helis,
                  "" if helis == 1 else "s", re.search(r'name="publisher" value="([^"]*)"', text).group(1)))
PY
  grep -E "airports scan|scenery add-on paths found|found:|found path:|Airports scan successful|not found any add-on" \
    "$install_dir/Log.txt" | sed "s|$install_dir/||g; s|^|  log: |"
}
