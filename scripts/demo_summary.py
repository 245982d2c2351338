#!/usr/bin/env python3
"""Prints what a demo run did, from ZARK_P3D's Log.txt and the records of the two doubles."""
import bisect
import csv
import json
import math
import re
import sys
from collections import defaultdict
from pathlib import Path

from demo_parked import metres, parked_rows

DELAY_S = 30.0           # the program shows the traffic this far behind the service
# The median distance of the objects from their flights 30 s earlier: about what an airliner on approach
# covers in 7 s. Placement and creation take 3 s.
MEDIAN_LIMIT_M = 500.0
TRACKS = Path(__file__).resolve().parent.parent / "data" / "tracks"


def recorded_flights():
    """The traffic double's replay of data/tracks: callsign -> (index, points), and its schedule."""
    scenario = json.loads((TRACKS / "LSZH_scenario.json").read_text())
    flights, index = {}, {}
    with open(TRACKS / scenario["flights"], newline="") as f:
        for row in csv.DictReader(f):
            index[row["flight"]] = (int(row["flight"]), row["callsign"])
    points = defaultdict(list)
    with open(TRACKS / scenario["tracks"], newline="") as f:
        for row in csv.DictReader(f):
            points[row["flight"]].append((float(row["t_s"]), float(row["lat"]), float(row["lon"])))
    for key, (i, callsign) in index.items():
        p = sorted(points[key], key=lambda x: x[0])
        flights[callsign] = (i, p, [x[0] for x in p])
    schedule = (scenario.get("replay_origin_unix", 1767225600), scenario.get("replay_gap_s", 600.0),
                scenario.get("replay_stagger_s", 97.0))
    return flights, schedule


def position_at(flight, schedule, utc):
    """Where the double replayed this flight at this UTC, linear between rows; None when it did not."""
    i, p, times = flight
    origin, gap, stagger = schedule
    if not p:
        return None
    duration = p[-1][0]
    phase = math.fmod(utc - origin - i * stagger, duration + gap)
    if phase < 0:
        phase += duration + gap
    if phase > duration:
        return None
    k = bisect.bisect_right(times, phase)
    if k == 0:
        return None
    a = p[k - 1]
    if k == len(p) or p[k][0] == a[0]:
        return a[1], a[2]
    b = p[k]
    f = (phase - a[0]) / (b[0] - a[0])
    return a[1] + (b[1] - a[1]) * f, a[2] + (b[2] - a[2]) * f


def median(v):
    v = sorted(v)
    return v[len(v) // 2] if v else float("nan")


def track_errors(objects, start_unix, delay, airborne_only=False):
    """Per object: distances of its recorded points (or of its flying ones) from its flight `delay` seconds
    earlier."""
    flights, schedule = recorded_flights()
    out = {}
    for o in objects:
        flight = flights.get(o.get("tail"))
        if not flight:
            continue
        errors = []
        for point in o.get("track", []):
            if airborne_only and (len(point) < 8 or point[7]):
                continue
            at_ms, lat, lon = point[0], point[1], point[2]
            then = position_at(flight, schedule, start_unix + at_ms / 1000.0 - delay)
            if then:
                errors.append(metres((lat, lon), then))
        if errors:
            out[(o["tail"], o["id"])] = errors
    return out

# The program's lines of the ground events (aircraft event lines, written while LOG is on).
GROUND_EVENTS = [
    ("landed", re.compile(r"^ {10}\S+ +landed( from \S+)? ", re.M)),
    ("parked", re.compile(r"^\S[^\n]*: \S+ +arrived at stand ", re.M)),
    ("pushed back", re.compile(r"^\S[^\n]*: \S+ +push back ", re.M)),
    ("pulled out", re.compile(r"^\S[^\n]*: \S+ +pull out ", re.M)),
    ("taken off", re.compile(r"^ {10}\S+ +took-off( to \S+)? ", re.M)),
]


def ground_events(text):
    return {name: len(pattern.findall(text)) for name, pattern in GROUND_EVENTS}


def events_text(counts):
    return ", ".join(f"{name} {counts[name]}" for name, _ in GROUND_EVENTS)


install = Path(sys.argv[1])
exit_code = int(sys.argv[2]) if len(sys.argv) > 2 else 0
flew = len(sys.argv) > 3 and sys.argv[3] == "1"  # the user flew away from Zurich and back
log = (install / "Log.txt").read_text(encoding="utf-8", errors="replace")

try:
    requests = json.loads((install / "traffic-requests.json").read_text())
except (OSError, ValueError):
    requests = []
try:
    record = json.loads((install / "simulator-record.json").read_text())
except (OSError, ValueError):
    record = {"objects": []}

def has(text):
    return text in log

served = re.search(r"This run served (\d+) ticks? and offered (\d+) traffic records?", log)
ticks, offered = (int(served.group(1)), int(served.group(2))) if served else (0, 0)
snapshots = sum(1 for r in requests if r.get("path") == "/v4/traffic" and r.get("status") == 200)
logout_sent = any(r.get("path") == "/v4/deauth" for r in requests)
ai_objects = [o for o in record.get("objects", []) if not o.get("user")]
left = [o for o in ai_objects if o.get("removedMs", -1) < 0]

# Matches per step of the cascade: the last summary block the program wrote at the end of traffic.
steps = {}
block = log.rfind("Matches at step: ")
if block >= 0:
    for m in re.finditer(r"^  (\d): (\d+)$", log[block:block + 200], re.M):
        steps[int(m.group(1))] = int(m.group(2))
matched = sum(steps.values())
remembered = len(re.findall(r" =c= ", log))
refused_by_sim = len(re.findall(r"could not be created by your Sim!", log))
no_livery = 0
nomatch = log.rfind("\nNo match found for: \n")
if nomatch >= 0:
    rest = log[nomatch:].split("\n")[2:]
    no_livery = next((i for i, l in enumerate(rest) if not l.strip()), len(rest))

# The objects against the recorded flights 30 s earlier.
start_unix = record.get("startUnix", 0.0)
errors = track_errors(ai_objects, start_unix, DELAY_S) if start_unix else {}
all_errors = [e for v in errors.values() for e in v]
track_median = median(all_errors)
# The delay at which each flying object (of 20 airborne points or more) lies closest to its flight, for the
# reader. On the ground, where aircraft stand or roll slowly, any delay fits about as well.
delays = []
for o in ai_objects:
    flying = [p for p in o.get("track", []) if len(p) >= 8 and not p[7]]
    if start_unix and len(flying) >= 20:
        fits = [(median(v), half / 2.0) for half in range(30, 91)
                for v in track_errors([o], start_unix, half / 2.0, True).values()]
        if fits:
            delays.append((min(fits)[1], o["tail"]))

# Every recorded flight has a route: each object gets a plan, and the exit removes their folder.
planned = [o for o in ai_objects if o.get("flightPlan")]
plan_folder = install / "appdata" / "ZARK_P3D" / "orig_dest"
events = ground_events(log)
fidelity_dir = install / "fidelity"
try:
    fidelity_table = (fidelity_dir / "fidelity.txt").read_text()
except OSError:
    fidelity_table = ""
headline = next((l[len("ALL: "):] for l in fidelity_table.splitlines() if l.startswith("ALL: ")), "")
try:
    replay_events = ground_events((fidelity_dir / "run" / "Log.txt").read_text(encoding="utf-8", errors="replace"))
except OSError:
    replay_events = None

rows = [
    ("connected to the simulator", bool(re.search(r"Prepar3D v5 \(.*\) connected", log))),
    ("logged in to the traffic service", has("Authenticated at RT server")),
    (f"ticks served: {ticks}", ticks > 0),
    (f"traffic snapshots received: {snapshots}", snapshots > 0),
    (f"traffic records offered: {offered}", offered > 0),
    ("closed by the close button", has("Exiting: USER CLOSED SIM")),
    ("logout sent", logout_sent),
    (f"aircraft created in the simulator: {len(ai_objects)}", len(ai_objects) > 0),
    ("aircraft matched per cascade step: " + ", ".join(f"{k}: {steps.get(k, 0)}" for k in range(1, 7))
     + f" (and {remembered} by their remembered title)", matched > 0),
    (f"aircraft refused: {refused_by_sim} by the simulator, {no_livery} found no livery", True),
    (f"aircraft left in the simulator at exit: {len(left)}", not left),
    (f"objects on their recorded flights 30 s late: median {track_median:.0f} m over {len(all_errors)} points "
     f"of {len(errors)} objects", bool(all_errors) and track_median < MEDIAN_LIMIT_M),
    (f"flight plans taken by the simulator: {len(planned)} of {len(ai_objects)} objects, "
     f"their folder {'left behind' if plan_folder.exists() else 'removed'} at exit",
     bool(planned) and not plan_folder.exists()),
    # A short demo may see none of these: the recordings land and leave at their own pace.
    (f"aircraft {events_text(events)}", True),
    ("fidelity of the recorded flights: " + (headline or "no table, see fidelity.out"), bool(headline)),
    ("clean exit", exit_code == 0 and has(" ends at ")),
]
# The park airport as it followed the user: each one taken up, each one left.
park_airports = re.findall(r"^The park airport is (\S+)", log, re.M)
left_airports = len(re.findall(r" is out of sight \(|, parked aircraft at \S+ will be removed first", log))
saves = re.findall(r'"([^"]*learned[^"]*\.xml)" saved with (\d+) updates?', log)
rows.append((f"park airports: {' -> '.join(park_airports) or 'none'}, left {left_airports} time(s)",
             bool(park_airports) and (not flew or (left_airports >= 1 and len(park_airports) >= 2))))
rows.append(("learned files saved: " + (", ".join(f"{p} ({n} update{'' if n == '1' else 's'})" for p, n in saves) or "none"),
             not flew or bool(saves)))
# The daily check at the start: what came from the update server.
updates = re.findall(r"^Downloading (\S+) version (\S+) \.\.\.$", log, re.M)
updates += [("archive", v) for v in re.findall(r"^Archive has been updated to version (\S+)", log, re.M)]
# The parked aircraft: how many came and went, the user's stand, real stands, no overlaps.
rows += parked_rows(install, log, record)
rows.append(("daily update: " + (", ".join(f"{p} {v}" for p, v in updates) or "nothing new"), bool(updates)))
print("\n== ZARK_P3D demo summary ==")
for text, ok in rows:
    print(f"  [{'ok' if ok else '--'}] {text}")
if delays:
    print(f"      best-fitting delays of the flying objects: {', '.join(f'{t} {d:g} s' for d, t in sorted(delays))}")
if replay_events is not None:
    print(f"      in the fidelity replay: {events_text(replay_events)}")
if headline:
    print("      targets: ground median <= 5 m, jump excess <= 1 m, sink <= 300 ft/min, parked within 2 m/3 deg,"
          " every push back backwards;")
    print(f"      table and plot: {fidelity_dir}/fidelity.txt, LSZH.png")
for (tail, oid), v in sorted(errors.items(), key=lambda x: -median(x[1]))[:5]:
    print(f"      {tail:8} object {oid}: median {median(v):.0f} m, worst {max(v):.0f} m over {len(v)} points")
marked = [l for l in log.splitlines() if l.startswith("Error ") or l.startswith("===> ")]
if marked:
    print("  log lines to look at:")
    for l in marked[:10]:
        print("    " + l)
print(f"  files: {install}/Log.txt, simulator-record.json, traffic-requests.json")
sys.exit(0 if all(ok for _, ok in rows) else 1)
