"""luvia-inspect on files of ffmpeg's and on damaged ones: the tree equals what a walker of a dozen lines finds."""

import json
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

TOOL = str(pathlib.Path(os.environ["LUVIA_BUILD_DIR"]) / "Tools/inspect/luvia-inspect")
UUID = bytes(range(16))
SOURCES = ["-f", "lavfi", "-i", "testsrc=d=1:s=64x48:r=25", "-f", "lavfi", "-i", "sine=d=1"]
CODECS = ["-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "aac"]
# Of boxes that hold others: how many bytes stand in front of them.
CONTAINERS = {b"moov": 0, b"trak": 0, b"mdia": 0, b"minf": 0, b"stbl": 0, b"edts": 0, b"dinf": 0, b"udta": 0,
              b"mvex": 0, b"moof": 0, b"traf": 0, b"mfra": 0, b"ilst": 0, b"wave": 0, b"sinf": 0, b"schi": 0,
              b"stsd": 8, b"dref": 8, b"meta": 4, b"avc1": 78, b"encv": 78, b"hvc1": 78, b"mp4a": 28, b"enca": 28}


def walk(data, start, end, parent=b""):
    boxes = []
    while end - start >= 8:
        size, kind = struct.unpack_from(">I4s", data, start)
        header = 8
        if size == 1:
            size, header = struct.unpack_from(">Q", data, start + 8)[0], 16
        size = size or end - start
        header += 16 * (kind == b"uuid")
        box, inner = [kind, start, size, header, []], CONTAINERS.get(kind)
        if kind == b"mp4a" and parent != b"stsd":
            inner = None
        elif kind == b"mp4a":
            inner += 16 * data[start + header + 9]  # a movie file's version 1
        if parent == b"ilst":
            inner = 0
        if inner is not None:
            box[4] = walk(data, start + header + inner, start + size, kind)
        boxes.append(box)
        start += size
    return boxes


def shown(box):
    kind = box["type"]
    kind = bytes.fromhex(kind[2:]) if kind.startswith("0x") else kind.encode()
    return [kind, box["offset"], box["size"], box["header"], [shown(child) for child in box.get("children", [])]]


def every(boxes):
    for box in boxes:
        yield box
        yield from every(box.get("children", []))


def inspect(*words):
    return subprocess.run([TOOL, *words], stdin=subprocess.DEVNULL, capture_output=True, timeout=60)


class Files(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.make("plain.mp4", [*SOURCES, *CODECS, "-metadata", "title=A title"])
        plain = ["-i", str(cls.folder / "plain.mp4"), "-c", "copy"]
        cls.make("movie.mov", plain)
        cls.make("fragmented.mp4", [*plain, "-movflags", "frag_keyframe+empty_moov+default_base_moof"])
        cls.make("encrypted.mp4", [*plain, "-encryption_scheme", "cenc-aes-ctr", "-encryption_key", "0" * 32,
                                   "-encryption_kid", "1" * 32])
        data = cls.read("plain.mp4")
        at = data.index(b"mdat") - 4
        size = struct.unpack_from(">I", data, at)[0]
        wide = data[:at] + struct.pack(">I4sQ", 1, b"mdat", size + 8) + data[at + 8:]
        (cls.folder / "wide.mp4").write_bytes(wide)
        (cls.folder / "uuid.mp4").write_bytes(data + struct.pack(">I4s", 29, b"uuid") + UUID + b"value" +
                                              struct.pack(">I4s", 0, b"mdat") + b"to the end")

    @classmethod
    def make(cls, name, words):
        subprocess.run(["ffmpeg", "-v", "error", "-y", *words, cls.folder / name], check=True, stdin=subprocess.DEVNULL)

    @classmethod
    def read(cls, name):
        return (cls.folder / name).read_bytes()

    def tree(self, name, status=0):
        result = inspect("--json", self.folder / name)
        self.assertEqual((result.returncode, result.stderr), (status, b""), name)
        return json.loads(result.stdout)

    def test_trees(self):
        for name in "plain.mp4", "movie.mov", "fragmented.mp4", "encrypted.mp4", "wide.mp4", "uuid.mp4":
            data, tree = self.read(name), self.tree(name)
            self.assertEqual([shown(box) for box in tree["boxes"]], walk(data, 0, len(data)), name)
            self.assertEqual((tree["size"], tree["messages"], tree["failures"]), (len(data), [], 0), name)
            text = inspect(self.folder / name)
            lines = text.stdout.decode().splitlines()
            self.assertEqual([line.split()[:7] for line in lines],
                             [f"{box['type']} offset {box['offset']} size {box['size']} header {box['header']}".split()
                              for box in every(tree["boxes"])], name)

    def test_insides(self):
        boxes = {box["type"]: box for box in every(self.tree("plain.mp4")["boxes"])}
        self.assertEqual((boxes["tkhd"]["version"], boxes["tkhd"]["flags"]), (0, 3))
        self.assertNotIn("version", boxes["moov"])
        self.assertEqual(boxes["ftyp"]["major"], "isom")
        self.assertIn("64x48", boxes["avcC"]["sps0"])
        self.assertIn("25 fps", boxes["avcC"]["sps0"])
        boxes = {box["type"]: box for box in every(self.tree("uuid.mp4")["boxes"])}
        self.assertEqual(boxes["uuid"]["uuid"], UUID.hex())

    def test_damage(self):
        data = self.read("plain.mp4")
        moov = data.index(b"moov") - 4
        deep = b""
        for _ in range(1000):
            deep = struct.pack(">I4s", 8 + len(deep), b"moov") + deep
        many = struct.pack(">I4s", 8, b"stsd") * 1000
        cases = {
            "cut": (data[:moov + 500], "invalid length"),
            "stray": (data + b"abc", "3 stray bytes"),
            "zero size inside": (data[:moov + 8] + bytes(4) + data[moov + 12:], "Zero sized"),
            "too small": (data[:moov + 8] + b"\0\0\0\7" + data[moov + 12:], "inconsistent"),
            "short": (b"abc", "3 stray bytes"),
            "deep": (deep, "nested more than"),
            "many": (many, "out of range"),
            "no boxes": (b"no boxes at all, but text", "exceeds container's length"),
        }
        for name, (damaged, text) in cases.items():
            (self.folder / "damaged").write_bytes(damaged)
            result = inspect(self.folder / "damaged")
            self.assertEqual((result.returncode, result.stderr), (1, b""), name)
            self.assertIn(text, result.stdout.decode(), name)
            tree = self.tree("damaged", 1)
            self.assertGreater(tree["failures"], 0, name)
            self.assertLessEqual(len(tree["messages"]), 101, name)
        (self.folder / "terminated").write_bytes(data + struct.pack(">I4s", 12, b"udta") + bytes(4))
        self.assertEqual(inspect(self.folder / "terminated").returncode, 0, "movie files end lists with zeros")

    def test_truncations(self):
        data = self.read("fragmented.mp4")
        for length in range(1, min(len(data), 1500), 7):
            (self.folder / "damaged").write_bytes(data[:length])
            self.assertIn(self.tree_status("damaged"), (0, 1), length)

    def tree_status(self, name):
        result = inspect("--json", self.folder / name)
        json.loads(result.stdout)
        return result.returncode

    def test_sparse(self):
        """Media data is not read, and memory does not grow with the file."""
        name = self.folder / "sparse.mp4"
        with open(name, "wb") as file:
            for i in range(2000):
                file.seek(i * (5 << 20))
                file.write(struct.pack(">I4s", 5 << 20, b"mdat"))
            file.truncate(2000 * (5 << 20))
        with open(os.devnull, "wb") as nowhere:
            child = subprocess.Popen([TOOL, name], stdout=nowhere)
            _, status, usage = os.wait4(child.pid, 0)
            child.returncode = 0
        self.assertEqual(status, 0)
        if "asan" not in os.environ["LUVIA_BUILD_DIR"]:
            self.assertLess(usage.ru_maxrss, 64 << 10)
        name.unlink()

    def test_refusals(self):
        (self.folder / "empty").write_bytes(b"")
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for words, reason in ((["empty"], "is empty"), (["."], "is a directory"), (["fifo"], "not a regular file"),
                              (["missing"], "No such file"), ([], "Usage"), (["a", "b"], "Usage"),
                              (["--wrong"], "unrecognized")):
            result = subprocess.run([TOOL, *words], cwd=self.folder, capture_output=True, timeout=60)
            self.assertEqual((result.returncode, result.stdout), (2, b""), words)
            self.assertIn(reason, result.stderr.decode(), words)
        with open("/dev/full", "wb") as full:
            result = subprocess.run([TOOL, self.folder / "plain.mp4"], stdout=full, stderr=subprocess.PIPE, timeout=60)
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"cannot be written", result.stderr)
        self.assertIn(b"--json", inspect("--help").stdout)
        self.assertRegex(inspect("--version").stdout, rb"^luvia-inspect \d")


if __name__ == "__main__":
    if not shutil.which("ffmpeg"):
        sys.exit("the test needs ffmpeg (see Scripts/packages-test.txt)")
    unittest.main(verbosity=0)
