#!/usr/bin/env python3
"""Seeds of atom_stream, inspect, common_encryption and tag_collection: one of each header and container."""

import pathlib
import struct

HERE = pathlib.Path(__file__).resolve().parent
UUID = bytes(range(16))


def atom(kind, data=b""):
    return struct.pack(">I4s", 8 + len(data), kind) + data


def full(kind, data=b"", version=0, flags=0):
    return atom(kind, struct.pack(">I", version << 24 | flags) + data)


def wide(kind, data=b""):
    return struct.pack(">I4sQ", 1, kind, 16 + len(data)) + data


def write(target, name, data):
    (HERE / target).mkdir(exist_ok=True)
    (HERE / target / name).write_bytes(data)


SINF = atom(b"frma", b"avc1") + full(b"schm", b"cenc" + struct.pack(">I", 0x10000)) + \
    atom(b"schi", full(b"tenc", b"\0\0\1\x08" + UUID))
AVCC = bytes.fromhex("01f4000affe1001767f4000a919b2884d808800000030080000019078912cb01000668ebe3c44844fff8f800")
SOUND = bytes(6) + struct.pack(">HH", 1, 1) + bytes(34)
WAVE = atom(b"wave", atom(b"frma", b"mp4a") + atom(b"mp4a", bytes(4)) + full(b"esds", b"x") + atom(bytes(4)))
STSD = full(b"stsd", struct.pack(">I", 2) + atom(b"avc1", bytes(78) + atom(b"avcC", AVCC) + atom(b"sinf", SINF)) +
            atom(b"mp4a", SOUND + WAVE))
META = full(b"meta", full(b"hdlr", bytes(4) + b"mdir" + bytes(13)) +
            atom(b"ilst", atom(b"\xa9nam", full(b"data", bytes(4) + b"Title")) +
                 atom(b"----", full(b"mean", b"a") + full(b"name", b"b") + full(b"data", bytes(4)))))
MOVIE = atom(b"ftyp", b"isom\0\0\2\0isomiso2") + \
    atom(b"moov", full(b"mvhd", bytes(96), 1) + atom(b"trak", atom(b"mdia", atom(b"minf", atom(b"stbl", STSD)))) +
         atom(b"udta", META + bytes(4))) + \
    atom(b"uuid", UUID + b"data") + wide(b"mdat", b"media") + struct.pack(">I4s", 0, b"free") + b"rest"
write("inspect", "movie", MOVIE)
write("inspect", "movie_meta", atom(b"meta", full(b"hdlr", bytes(24))) + full(b"iinf", struct.pack(">H", 0)))
HANDLERS = {b"vide": [(b"AVdn", bytes(76) + b"\xff\xff"), (b"rle ", bytes(78 + 6) + b"\0\1" + bytes(16))],
            b"soun": [(b"raw ", SOUND), (b"mp4a", bytes(8) + b"\0\1" + bytes(18)),
                      (b"lpcm", bytes(8) + b"\0\2" + bytes(18) + struct.pack(">I", 80) + bytes(40))]}
ENTRIES = b"".join(
    atom(b"trak", atom(b"mdia", full(b"hdlr", bytes(4) + handler + bytes(13)) + atom(b"minf", atom(b"stbl", full(
        b"stsd", struct.pack(">I", len(entries)) +
        b"".join(atom(code, fields + atom(b"avcC", AVCC) + atom(b"a\"\\\x80")) for code, fields in entries))))))
    for handler, entries in HANDLERS.items())
write("inspect", "entries", atom(b"moov", ENTRIES))
write("inspect", "text", b"no boxes at all, but text")
for name, record in (("version", b"\x09" + AVCC[1:]), ("cut", AVCC[:20]), ("length", AVCC[:6] + b"\xff\xff" + AVCC[8:]),
                     ("unreadable", AVCC[:12] + bytes(len(AVCC) - 12)), ("no_sets", b"\1\x64\0\x0a\xff\xe0\0\xf8")):
    write("inspect", "avcC_" + name, atom(b"moov", atom(b"avcC", record)))
write("inspect", "deep", b"".join(struct.pack(">I4s", 8 * (40 - n), b"moov") for n in range(40)))
for piece in (0, 5, 79):
    write("atom_stream", f"pieces_{piece}", bytes([piece]) + MOVIE)
write("common_encryption", "sinf", SINF)
write("common_encryption", "short_tenc", atom(b"schi", full(b"tenc", bytes(19))))
TAGS = b"eyes" + struct.pack(">IQ", 7, 1) + b"mdia" + struct.pack(">I4x4s", 5, b"vide")
write("tag_collection", "two", atom(b"tgco", full(b"tgin", b"tag coll") + full(b"tgli", struct.pack(">I", 2) + TAGS)))
write("tag_collection", "dictionary", TAGS + b"test" + struct.pack(">Id", 3, 1.5) + b"test" + struct.pack(">Iq", 2, -1))
