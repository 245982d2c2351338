#!/usr/bin/env python3
"""Prints what a demo run did, from ZARK_P3D's Log.txt and the records of the two doubles."""
import json
import re
import sys
from pathlib import Path

install = Path(sys.argv[1])
exit_code = int(sys.argv[2]) if len(sys.argv) > 2 else 0
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
ai_objects = [o for o in record.get("objects", []) if o.get("tail") != record.get("objects", [{}])[0].get("tail")]
left = [o for o in ai_objects if o.get("removedMs", -1) < 0]

rows = [
    ("connected to the simulator", bool(re.search(r"Prepar3D v5 \(.*\) connected", log))),
    ("logged in to the traffic service", has("Authenticated at RT server")),
    (f"ticks served: {ticks}", ticks > 0),
    (f"traffic snapshots received: {snapshots}", snapshots > 0),
    (f"traffic records offered: {offered}", offered > 0),
    ("closed by the close button", has("Exiting: USER CLOSED SIM")),
    ("logout sent", logout_sent),
    (f"AI objects left in the simulator: {len(left)}", not left),
    ("clean exit", exit_code == 0 and has(" ends at ")),
]
print("\n== ZARK_P3D demo summary ==")
for text, ok in rows:
    print(f"  [{'ok' if ok else '--'}] {text}")
errors = [l for l in log.splitlines() if l.startswith("Error ") or l.startswith("===> ")]
if errors:
    print("  log lines to look at:")
    for l in errors[:10]:
        print("    " + l)
print(f"  files: {install}/Log.txt, simulator-record.json, traffic-requests.json")
sys.exit(0 if all(ok for _, ok in rows) else 1)
