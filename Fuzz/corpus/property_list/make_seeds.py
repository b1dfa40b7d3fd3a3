#!/usr/bin/env python3
"""Makes the seeds of this folder: one list in both forms, and a binary one with a shared container."""

import datetime
import pathlib
import plistlib
import re

here = pathlib.Path(__file__).parent
value = {"n": [0, -1, 300, 2**40, 2**64 - 1], "r": 1.5, "t": True, "d": datetime.datetime(2024, 2, 29), "b": b"abc", "s": "café",
         "a": [{}, [], "x" * 20]}
shared = ["shared"]
(here / "everything.xml").write_bytes(b"\0" + re.sub(rb"<!DOCTYPE[^>]*>", b'<!DOCTYPE plist SYSTEM "list.dtd">', plistlib.dumps(value)))
(here / "everything.bin").write_bytes(b"\1" + plistlib.dumps(value, fmt=plistlib.FMT_BINARY))
(here / "shared.bin").write_bytes(b"\2" + plistlib.dumps([shared, shared], fmt=plistlib.FMT_BINARY))
