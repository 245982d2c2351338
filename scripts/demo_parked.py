"""The parked aircraft of a demo run, checked against the simulator double's record (imported by
demo_summary.py): how many were created, renewed and removed, whether the user's stand stayed free, whether
each stands on a real stand of the airport files, and whether any two of them overlap."""
import html
import math
import re
import xml.etree.ElementTree as ET
from pathlib import Path

STAND_TOLERANCE_M = 1.0      # a parked object stands this close to the point of a real stand
HEADING_TOLERANCE_DEG = 2.0  # and this close to its heading
USER_STAND_SEARCH_M = 55.0   # the user stands on the nearest stand this close (the program's own rule)
EXIT_WAVE_MS = 200           # the exit removes every object in one frame; earlier removals came before it


def metres(a, b):
    la1, lo1, la2, lo2 = map(math.radians, (a[0], a[1], b[0], b[1]))
    h = math.sin((la2 - la1) / 2) ** 2 + math.cos(la1) * math.cos(la2) * math.sin((lo2 - lo1) / 2) ** 2
    return math.asin(math.sqrt(h)) * 6875.493541569878 * 1852.0


def angle_apart(a, b):
    d = abs(a - b) % 360.0
    return min(d, 360.0 - d)


def airport_stands(install):
    """Every stand of every airport file in the install folder: (file, name, lat, lon, heading, radius m)."""
    stands = []
    for path in sorted((install / "airports").rglob("*.xml")):
        text = path.read_text(encoding="utf-8", errors="replace")
        for m in re.finditer(r"<parkpos\b[^>]*>", text):
            a = dict(re.findall(r'(\w+)="([^"]*)"', m.group(0)))
            try:
                stands.append((path.relative_to(install).as_posix(), a.get("id", "?"), float(a["latitude"]),
                               float(a["longitude"]), float(a.get("heading", "0")), float(a.get("radius", "0"))))
            except (KeyError, ValueError):
                continue
    return stands


def nearest_stand(stands, at):
    best, best_m = None, float("inf")
    for s in stands:
        d = metres(at, (s[2], s[3]))
        if d < best_m:
            best, best_m = s, d
    return best, best_m


# The type codes of dbase.xml are stored scrambled: output character j is stored character POS[j] shifted by
# SHIFT[j], wrapped into the window "-" .. "Z" (the program's own reader does the same).
MODEL_POS = {2: (1, 0), 3: (2, 0, 1), 4: (3, 1, 0, 2)}
MODEL_SHIFT = {2: (-19, 12), 3: (7, -31, 24), 4: (-11, 27, -4, 16)}


def decoded_model(text):
    if len(text) not in MODEL_POS:
        return ""
    out = []
    for pos, shift in zip(MODEL_POS[len(text)], MODEL_SHIFT[len(text)]):
        v = ord(text[pos]) + shift
        v += 46 if v < 45 else -46 if v > 90 else 0
        out.append(chr(v))
    return "".join(out)


def half_spans(install):
    """Half wingspans in metres by type, from the database the program read (a file of several roots)."""
    try:
        text = (install / "input" / "dbase.xml").read_text(encoding="utf-8", errors="replace")
    except OSError:
        return {}
    spans = {}
    for m in re.finditer(r'<wingspan type="([^"]*)" meters="([^"]*)"', text):
        try:
            spans[decoded_model(html.unescape(m.group(1)))] = float(m.group(2)) / 2.0
        except ValueError:
            continue
    return spans


def livery_types(install):
    """Title -> type of the liveries file the run used: the type the simulator shows."""
    types = {}
    try:
        root = ET.parse(install / "output" / "LiveriesScanned.xml").getroot()
    except (OSError, ET.ParseError):
        return types
    for liv in root.iter("liv"):
        types[liv.get("title", "")] = liv.get("type", "")
    return types


def logged_types(log):
    """Parked callsign -> the type the program gave it, from its creation lines ("CS* AIRL TYPE =n= title")."""
    return {m.group(1): m.group(2) for m in re.finditer(r"^ {10}(\S+\*) +\S+ +(\S+) +=\d= ", log, re.M)}


def alive(o, end_ms):
    return o.get("createdMs", 0), o["removedMs"] if o.get("removedMs", -1) >= 0 else end_ms


def counts_row(log, objects, parked, end_ms):
    """How many parked objects came, by how many calculations and renewals, and how many went early."""
    exit_ms = max((o["removedMs"] for o in objects if o.get("removedMs", -1) >= 0), default=end_ms)
    removed = [o for o in parked if 0 <= o.get("removedMs", -1) < exit_ms - EXIT_WAVE_MS]
    renewals = re.findall(r"^(?:live stayers: \d+, )?Parking adjustments: (\d+) to be removed, (\d+) to be added", log,
                          re.M)
    calculations = len(re.findall(r"^\d+ positions \(|^\d+ positions from RT parktraffic only", log, re.M))
    return (f"parked objects: {len(parked)} created by {calculations} calculation(s), {len(renewals)} renewal(s)"
            + (" (" + ", ".join(f"-{r} +{a}" for r, a in renewals) + ")" if renewals else "")
            + f", {len(removed)} removed before the exit", bool(parked))


def user_stand_row(objects, stands):
    """No other object ever stood inside the circle of the stand the user started on."""
    user = next((o for o in objects if o.get("user") and o.get("track")), None)
    user_stand = None
    if user and stands:
        s, d = nearest_stand(stands, user["track"][0][1:3])
        user_stand = s if d <= USER_STAND_SEARCH_M else None
    if not user_stand:
        return ("the user's stand never used: the user stands on no stand of the airport files", False)
    circle = max(user_stand[5], STAND_TOLERANCE_M)
    closest, by = float("inf"), ""
    for o in objects:
        if o.get("user"):
            continue
        for p in o.get("track", []):
            if len(p) > 7 and not p[7]:
                continue  # airborne points pass over stands
            d = metres((p[1], p[2]), (user_stand[2], user_stand[3]))
            if d < closest:
                closest, by = d, o.get("tail", "?")
    return (f"the user's stand {user_stand[1]} never used: closest object {by or 'none'} "
            f"{closest:.0f} m from it (stand circle {circle:.0f} m)", closest > circle)


def on_stands_row(parked, stands):
    """Every parked object at every point of its track on one real stand, with the stand's heading."""
    worst_m, worst_deg, off = 0.0, 0.0, []
    for o in parked:
        # The stand under its first point; every later point must stay on it.
        s, _ = nearest_stand(stands, o["track"][0][1:3])
        d_max = max((metres((p[1], p[2]), (s[2], s[3])) for p in o["track"]), default=0.0) if s else 0.0
        a_max = max((angle_apart(p[6], s[4]) for p in o["track"]), default=0.0) if s else 0.0
        worst_m, worst_deg = max(worst_m, d_max), max(worst_deg, a_max)
        if s is None or d_max > STAND_TOLERANCE_M or a_max > HEADING_TOLERANCE_DEG:
            off.append(f"{o['tail']} {d_max:.1f} m/{a_max:.1f} deg from {s[1] if s else '?'}")
    return (f"parked objects on real stands: {len(parked) - len(off)} of {len(parked)} within "
            f"{STAND_TOLERANCE_M:g} m and {HEADING_TOLERANCE_DEG:g} deg (worst {worst_m:.2f} m, {worst_deg:.1f} deg)"
            + (": " + "; ".join(off[:4]) if off else ""), bool(parked) and not off)


def overlap_row(install, log, parked, end_ms):
    """No two parked objects there at the same time closer than their half wingspans added (the type of
    the title the simulator shows, else the one the program logged)."""
    spans, titles, logged = half_spans(install), livery_types(install), logged_types(log)
    unknown, overlaps, typed = set(), [], []
    for o in parked:
        t = titles.get(o.get("title", "")) or logged.get(o["tail"], "")
        if t not in spans:
            unknown.add(t or "?")
            continue
        typed.append((o, t, spans[t], o["track"][0][1:3]))
    for i, (a, ta, ha, pa) in enumerate(typed):
        a0, a1 = alive(a, end_ms)
        for b, tb, hb, pb in typed[i + 1:]:
            b0, b1 = alive(b, end_ms)
            if a0 >= b1 or b0 >= a1:
                continue  # never there at the same time
            d = metres(pa, pb)
            if d < ha + hb:
                overlaps.append(f"{a['tail']} {ta} and {b['tail']} {tb} {d:.0f} m apart, spans {2 * ha:.0f}/{2 * hb:.0f} m")
    return (f"no two parked objects overlap: {len(overlaps)} overlap(s) among {len(typed)} with a wingspan"
            + (f" ({len(unknown)} type(s) without one: {', '.join(sorted(unknown))})" if unknown else "")
            + (": " + "; ".join(overlaps[:3]) if overlaps else ""), not overlaps and not unknown)


def parked_rows(install, log, record):
    """Summary rows (text, ok) of the parked objects."""
    objects = record.get("objects", [])
    parked = [o for o in objects if not o.get("user") and o.get("tail", "").endswith("*") and o.get("track")]
    end_ms = record.get("nowMs", 0)
    stands = airport_stands(install)
    return [counts_row(log, objects, parked, end_ms), user_stand_row(objects, stands), on_stands_row(parked, stands),
            overlap_row(install, log, parked, end_ms)]
