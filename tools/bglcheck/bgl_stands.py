#!/usr/bin/env python3
"""Independent listing of the stands and helipads in airport BGL files, used once to make the expected
data of the BGL decoder's tests (tests/airports/data/bgl_expected.csv).

It walks the files the way the format describes them: header, section table, then each airport section's
own sub-section table with its offsets and sizes, and in every airport record the sub-records by their
byte sizes. It shares no code with the C++ decoder, and prints one CSV row per stand.

    python3 tools/bglcheck/bgl_stands.py FILE...  > expected.csv
"""
import math
import struct
import sys

NAMES = ["", "r", "p", "np", "ep", "sep", "sp", "swp", "wp", "nwp", "g", ""]


def ident(value):
    value >>= 5
    digits = []
    while value:
        digits.append(value % 38)
        value //= 38
    text = ""
    for d in reversed(digits):
        if d == 0:
            return None
        text += chr(d + 46) if 2 <= d <= 11 else chr(d + 53)
    return text if len(text) == 4 else None


def lat(raw):
    return 90.0 - raw * (180.0 / (1 << 29))  # the format's unit: 180 degrees over 2^29


def lon(raw):
    return raw * (360.0 / (3 << 28)) - 180.0  # 360 degrees over 3 * 2^28


def stands_of(data, start, size, new_form, rows, icao, fname):
    pos = start + (60 if new_form else 56)
    end = start + size
    heli = 0
    while pos + 6 <= end:
        rid, rsize = struct.unpack_from("<HI", data, pos)
        if rsize < 6:
            break
        if rid == 0x26:
            heli += 1
            rlon, rlat = struct.unpack_from("<II", data, pos + 12)
            width, heading = struct.unpack_from("<ff", data, pos + 28)
            rows.append((fname, icao, "helipad%d" % heli, lat(rlat), lon(rlon), heading, width / 2, "heli"))
        if rid == (0xAD if new_form else 0x3D):
            (count,) = struct.unpack_from("<H", data, pos + 6)
            q = pos + 8
            for _ in range(count):
                (flags,) = struct.unpack_from("<I", data, q)
                radius, heading = struct.unpack_from("<ff", data, q + 4)
                rlon, rlat = struct.unpack_from("<II", data, q + 28)
                name_index, kind, number, airlines = flags & 63, (flags >> 8) & 15, (flags >> 12) & 4095, flags >> 24
                name = (NAMES[name_index] if name_index < 12 else chr(name_index + 53)) + str(number)
                rows.append((fname, icao, name, lat(rlat), lon(rlon), heading, radius, "type%d" % kind))
                q += (40 if new_form else 36) + 4 * airlines
            if q != pos + rsize:
                sys.exit("%s: parking list of %d bytes, entries end at %d" % (fname, rsize, q - pos))
            break
        pos += rsize


def main():
    print("file,icao,stand,latitude,longitude,heading_deg,radius_m,kind")
    for path in sys.argv[1:]:
        data = open(path, "rb").read()
        fname = path.replace("\\", "/").split("/")[-1]
        (header_size,) = struct.unpack_from("<I", data, 4)
        (sections,) = struct.unpack_from("<I", data, 20)
        if header_size != 56:
            continue
        rows = []
        for s in range(sections):
            kind, size_code, subsections, table, _ = struct.unpack_from("<5I", data, 56 + 20 * s)
            if kind != 3:
                continue
            for k in range(subsections):
                _, records, offset, length = struct.unpack_from("<4I", data, table + 16 * k)
                pos = offset
                while pos < offset + length:
                    rid, rsize = struct.unpack_from("<HI", data, pos)
                    if rid in (0x3C, 0xAB):
                        icao = ident(struct.unpack_from("<I", data, pos + 40)[0])
                        if icao:
                            stands_of(data, pos, rsize, rid == 0xAB, rows, icao, fname)
                    pos += rsize
        for r in rows:
            print("%s,%s,%s,%.8f,%.8f,%.3f,%.3f,%s" % r)


if __name__ == "__main__":
    main()
