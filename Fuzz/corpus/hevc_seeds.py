"""Writes the seeds of hevc_reader (mode, count, operations, buffer) and hevc_nal_dump (NAL units)."""
import pathlib

HERE = pathlib.Path(__file__).parent
OPERATIONS = bytes([1, 3, 2, 32, 4, 0, 3, 0, 0, 9, 4, 0, 1, 25, 0, 70, 4, 0])
BUFFER = bytes.fromhex("40010c01ffff0160000003009000000300000303000003005d95980900000300000301000003")
VPS = bytes.fromhex("40010c01ffff01600000030090000003000003005d959809")
SEI = bytes.fromhex("4e01050402aabbcc80")
# Parameter sets: a VPS with HRDs and one with layers, an SPS with all of a VUI, a PPS for screen content and one with layers.
SETS = {
    "vps_hrd": ("40012c12ffff0408000003000003000003000003005d40003c95cc441bb8800001f4800075306f84ad7c699053590530b2592a1494"),
    "vps_layers": ("40015c31ffff080000030000f0000003000003005d95c6742abf5a28001f0900100019c899604616d19ac263c4b5976d1b07800438f21a64"
    "2814000f00028003c05bb0"),
    "sps": ("4201220408000003000003000003000003005d40003c31200a0403c34c85298b2b95924a6b5559ce739ce739ce739ce739ce739ce739ce73"
    "9ce739ce739ce739ce739ce739ce739ce739ce739ce73aab0910842108421084210842108421084210842108421084210842108421084210"
    "8421084210842108422aac7a49249249249249249249249249249249249249249249249776a95ac85f608f47ca9ddda6c15ffe00500043ee"
    "1220136414c85800001f4800075304fe0649848ed7c6932146388134c8518e204ca64293215a29a080fc0556"),
    "pps_screen": ("4401146923c7029ec3218fc8c9264f0d18be409a6730643149f1620f62980040080063ff002801a0"),
    "pps_layers": ("4401144aa3c79c222135038583643888a1a38234c850850622da2709094000000300018d8a0000030002"),
}
AUD = bytes.fromhex("460150")

for name, mode in (("escaped", 1), ("plain", 0)):
    (HERE / "hevc_reader" / name).write_bytes(bytes([mode, len(OPERATIONS) // 2]) + OPERATIONS + BUFFER)
for name, unit in (("vps", VPS), ("sei", SEI), ("aud", AUD), ("profile", bytes([255, 15, 255, 13]) + VPS[6:] * 3)):
    (HERE / "hevc_nal_dump" / name).write_bytes(unit)
for name, unit in SETS.items():
    (HERE / "hevc_nal_dump" / name).write_bytes(bytes.fromhex(unit))
