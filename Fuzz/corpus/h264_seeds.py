#!/usr/bin/env python3
"""Writes the seeds of the H.264 fuzz target: an SPS, an avcC record, and sets with a length byte in front of each."""
import pathlib

SPS = bytes.fromhex("67640028acd940780227e5c05a808080a0000003002000000791e30632c0")
PPS = bytes.fromhex("68ebe3cb22c0")


def entry(unit):
    return len(unit).to_bytes(2, "big") + unit


seeds = pathlib.Path(__file__).resolve().parent / "h264"
seeds.mkdir(exist_ok=True)
(seeds / "sps").write_bytes(SPS)
(seeds / "avcC").write_bytes(bytes([1, 100, 0, 40, 0xFF, 0xE1]) + entry(SPS) + b"\x01" + entry(PPS) + b"\xfd\xf8\xf8\x00")
(seeds / "sets").write_bytes(bytes([len(SPS)]) + SPS + bytes([len(PPS)]) + PPS)
