#!/usr/bin/env python3
"""Makes the compact replay files of data/tracks/ from the recorded LSZH tracks and stands.

Usage: convert_tracks.py <folder with LSZH_tracks_opensky_2019.csv and LSZH_stands.csv> <data/tracks>
The stands are copied as they are. Rows are kept as recorded (duplicates and faulty values included); only the repeated text columns go
into a table of flights and the times become seconds since the flight's first row.
"""
import csv
import shutil
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

# The stands are copied unchanged: the airport file tool (tools/mkairports) needs all their columns.
shutil.copyfile(src / "LSZH_stands.csv", dst / "LSZH_stands.csv")
