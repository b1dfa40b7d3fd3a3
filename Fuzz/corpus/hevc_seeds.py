"""Writes the seeds of hevc_reader (mode, count, operations, buffer) and hevc_nal_dump (NAL units)."""
import pathlib

HERE = pathlib.Path(__file__).parent
OPERATIONS = bytes([1, 3, 2, 32, 4, 0, 3, 0, 0, 9, 4, 0, 1, 25, 0, 70, 4, 0])
BUFFER = bytes.fromhex("40010c01ffff0160000003009000000300000303000003005d95980900000300000301000003")
VPS = bytes.fromhex("40010c01ffff01600000030090000003000003005d959809")
SEI = bytes.fromhex("4e01050402aabbcc80")
AUD = bytes.fromhex("460150")

for name, mode in (("escaped", 1), ("plain", 0)):
    (HERE / "hevc_reader" / name).write_bytes(bytes([mode, len(OPERATIONS) // 2]) + OPERATIONS + BUFFER)
for name, unit in (("vps", VPS), ("sei", SEI), ("aud", AUD), ("profile", bytes([255, 15, 255, 13]) + VPS[6:] * 3)):
    (HERE / "hevc_nal_dump" / name).write_bytes(unit)
