#!/usr/bin/env python3
"""Writes the seeds of the block buffer targets: choices for the model, and a head of arguments before the bytes."""
import pathlib
import random

here = pathlib.Path(__file__).parent
random.seed(7)


def seed(name, data):
    (here / name).parent.mkdir(exist_ok=True)
    (here / name).write_bytes(bytes(data))


# Operation numbers and arguments, in the order in which BlockBufferModel asks for them.
seed("block_buffer/few_operations", b"\x01\x07\x14\x03\x01\x01\x02\x05ABCDE\x03\x01\x00\x05\x01\x02\x09\x0a\x0b")
seed("block_buffer/many_operations", (random.randrange(256) for _ in range(1500)))
# offset, length (two bytes, little-endian), lines, bytes a line, flags, bytes a piece; then the bytes to dump
seed("hex_dump/zeros_then_text", bytes([0, 0, 0, 0, 16, 7, 5]) + bytes(64) + b"text")
seed("hex_dump/array_cut", bytes([3, 40, 0, 2, 8, 26, 9]) + bytes(range(60)))
