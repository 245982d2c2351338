#!/usr/bin/env python3
"""Makes the compact replay files of data/tracks/ from the recorded LSZH tracks and stands.

Usage: convert_tracks.py <folder with LSZH_tracks_opensky_2019.csv and LSZH_stands.csv> <data/tracks>
Rows are kept as recorded (duplicates and faulty values included); only the repeated text columns go
into a table of flights and the times become seconds since the flight's first row.
"""
import csv
import sys
from pathlib import Path

src, dst = Path(sys.argv[1]), Path(sys.argv[2])
flights = {}
rows = []
with open(src / "LSZH_tracks_opensky_2019.csv", newline="") as f:
    for r in csv.DictReader(f):
        fid = r["flight_id"]
        if fid not in flights:
            flights[fid] = {"index": len(flights), "icao24": r["icao24"], "callsign": r["callsign"],
                            "t0": float(r["time_unix"])}
        fl = flights[fid]
        t = float(r["time_unix"]) - fl["t0"]
        rows.append([fl["index"], f"{t:g}", r["lat"], r["lon"], r["baro_alt_ft"], r["geo_alt_ft"], r["gs_kt"],
                     r["track_deg"], r["vrate_fpm"], r["on_ground"]])

with open(dst / "LSZH_tracks.csv", "w", newline="") as f:
    w = csv.writer(f, lineterminator="\n")
    w.writerow(["flight", "t_s", "lat", "lon", "baro_alt_ft", "geo_alt_ft", "gs_kt", "track_deg", "vrate_fpm",
                "on_ground"])
    w.writerows(rows)

with open(dst / "LSZH_flights_recorded.csv", "w", newline="") as f:
    w = csv.writer(f, lineterminator="\n")
    w.writerow(["flight", "icao24", "callsign", "start_unix"])
    for fl in flights.values():
        w.writerow([fl["index"], fl["icao24"], fl["callsign"], f"{fl['t0']:.0f}"])

with open(src / "LSZH_stands.csv", newline="") as f, open(dst / "LSZH_stands.csv", "w", newline="") as g:
    w = csv.writer(g, lineterminator="\n")
    w.writerow(["name", "lat", "lon", "heading_deg", "kind", "source"])
    for r in csv.DictReader(f):
        source = "FG" if r["source"].startswith("FlightGear") else "OSM"
        w.writerow([r["name"], r["lat"], r["lon"], r["heading_deg"], r["kind"], source])
