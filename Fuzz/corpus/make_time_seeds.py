#!/usr/bin/env python3
"""Writes the seeds of fuzz target media_time: three times (value, timescale, flags, epoch), two factors, a double."""
import pathlib
import struct

HERE = pathlib.Path(__file__).parent / "media_time"
MOST = 2**63 - 1
SEEDS = {
    "frames": [(3003, 90000, 1, 0), (1, 30, 3, 0), (1, 25, 1, 0), (1001, 30000), 0.5],
    "no_common_timescale": [(1, 1000000007, 1, 0), (1, 1000000009, 1, 0), (5, 3, 1, 0), (7, 3), 1 / 3],
    "full": [(MOST, 2, 1, 0), (MOST, 3, 1, 0), (-MOST, 1, 1, 0), (-2**31, -2**31), 1e19],
    "epochs": [(1, 2, 1, 3), (1, 4, 3, 4), (1, 2, 1, 0), (0, 0), -1.0],
    "no_numbers": [(0, 0, 5, 0), (0, 0, 9, 0), (0, 0, 17, 0), (-1, 2), 0.0],
    "odd": [(1, 0, 1, 0), (1, -3, 0x41, 0), (-MOST - 1, -2**31, 1, 0), (3, -1), float("nan")],
}
for name, (a, b, c, factors, number) in SEEDS.items():
    times = b"".join(struct.pack("<qiIq", *time) for time in (a, b, c))
    (HERE / name).write_bytes(times + struct.pack("<iid", *factors, number))
