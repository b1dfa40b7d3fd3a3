#!/usr/bin/env python3
"""Writes the seeds of the string targets: a text in a few encodings, and two formats."""
import pathlib

here = pathlib.Path(__file__).parent
TEXT = "abc \u00e9\u20ac\u0416\u4e2d\U0001f600"
# The first byte is the encoding's place in the target's list.
for place, codec, text in [(0, "utf-8", TEXT), (1, "utf-16", TEXT), (4, "utf-32", TEXT), (9, "mac-roman", "abc \u00e9\u20ac"),
                           (60, "iso2022-jp", "a\u65e5\u672cb"), (70, "shift-jis", "a\u65e5\u672cb"), (65, "iso2022-kr", "a\ud55c")]:
    (here / "string_decoding" / codec).write_bytes(bytes([place, 9]) + text.encode(codec))
for name, seed in [("arbitrary", b"%d %5.2f|%-8llx%% %c %%n %"), ("refused", b"%n")]:
    (here / "string_format" / name).write_bytes(seed)
