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
              b"stsd": 8, b"dref": 8, b"meta": 4}


def entry(data, at, handler):
    """How many bytes stand in front of what a sample entry holds."""
    if handler == b"vide":
        color_table, count = struct.unpack_from(">h6xh", data, at + 76)
        return 78 if color_table else 78 + 8 * count + 16
    return 28 + {0: 0, 1: 16, 2: 36}[struct.unpack_from(">H", data, at + 8)[0]] if handler == b"soun" else None


def walk(data, start, end, parent=b"", handler=None):
    boxes = []
    while end - start >= 8:
        size, kind = struct.unpack_from(">I4s", data, start)
        header = 8
        if size == 1:
            size, header = struct.unpack_from(">Q", data, start + 8)[0], 16
        size = size or end - start
        header += 16 * (kind == b"uuid")
        box, inner = [kind, start, size, header, []], CONTAINERS.get(kind)
        if kind == b"mdia":
            at = data.index(b"hdlr", start) + 12
            handler = data[at:at + 4]
        if parent == b"stsd":
            inner = entry(data, start + header, handler)
        if parent == b"ilst":
            inner = 0
        if inner is not None:
            box[4] = walk(data, start + header + inner, start + size, kind, handler)
        boxes.append(box)
        start += size
    return boxes


def shown(box):
    kind = box["type"]
    kind = bytes.fromhex(kind[2:]) if kind.startswith("0x") else kind.encode("mac_roman")
    return [kind, box["offset"], box["size"], box["header"], [shown(child) for child in box.get("children", [])]]


def bits(text):
    """Bytes of binary digits, filled with zeros."""
    text = text.replace(" ", "")
    text += "0" * (-len(text) % 8)
    return bytes(int(text[i:i + 8], 2) for i in range(0, len(text), 8))


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
        cls.make("old.mov", [*SOURCES, "-c:v", "qtrle", "-pix_fmt", "pal8", "-c:a", "pcm_u8", "-metadata", "title=Old"])
        cls.make("adpcm.mov", [*SOURCES, "-c:v", "mpeg2video", "-c:a", "adpcm_ms"])
        cls.make("wide.mov", [*SOURCES[4:], "-ac", "3", "-ar", "96000", "-c:a", "pcm_s24le"])
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
        for name in ("plain.mp4", "movie.mov", "old.mov", "adpcm.mov", "wide.mov", "fragmented.mp4", "encrypted.mp4",
                     "wide.mp4", "uuid.mp4"):
            data, tree = self.read(name), self.tree(name)
            self.assertEqual([shown(box) for box in tree["boxes"]], walk(data, 0, len(data)), name)
            self.assertEqual((tree["file"]["size"], tree["file"]["wellFormed"], tree["findings"]),
                             (len(data), True, []), name)
            self.assertEqual(tree["movie"]["fragmented"], name == "fragmented.mp4")
            text = inspect(self.folder / name)
            lines = text.stdout.decode().splitlines()
            self.assertEqual([line.split()[:7] for line in lines],
                             [f"{box['type']} offset {box['offset']} size {box['size']} header {box['header']}".split()
                              for box in every(tree["boxes"])], name)

    def test_insides(self):
        tree = self.tree("plain.mp4")
        boxes = {box["type"]: box for box in every(tree["boxes"])}
        self.assertEqual((boxes["tkhd"]["version"], boxes["tkhd"]["flags"]), (0, 3))
        self.assertNotIn("version", boxes["moov"])
        self.assertEqual(tree["file"]["brands"], {"major": "isom", "minor": 512,
                                                  "compatible": ["isom", "iso2", "avc1", "mp41"]})
        self.assertEqual(tree["movie"], {"timescale": 1000, "duration": 1000, "fragmented": False})
        self.assertEqual(boxes["avcC"]["configuration"]["lengthSize"], 4)
        sps, pps = boxes["avcC"]["parameterSets"]
        self.assertEqual((sps["kind"], sps["nalType"], sps["id"], sps["derived"]),
                         ("SPS", 7, 0, {"width": 64, "height": 48, "frameRate": [25, 1], "chroma": 1, "depth": [8, 8]}))
        self.assertEqual((pps["kind"], pps["id"], pps["derived"]), ("PPS", 0, {"sps": 0}))
        text = inspect(self.folder / "plain.mp4").stdout.decode()
        self.assertIn("sps0 64x48 chroma 1 depth 8/8 25 fps  pps0 id 0", text)
        self.assertIn("major isom  minor 512  compatible isom iso2 avc1 mp41\n", text)
        self.assertIn("\u00a9nam  offset", inspect(self.folder / "old.mov").stdout.decode())
        boxes = {box["type"]: box for box in every(self.tree("uuid.mp4")["boxes"])}
        self.assertEqual(boxes["uuid"]["uuid"], UUID.hex())

    def test_frame_rate_of_no_ticks(self):
        """A baseline SPS of one macroblock whose VUI says that a tick lasts 0 units."""
        sps = b"\x67\x42\0\x0a" + bits("1 1 1 1 1 0 1 1 1 1 0 1" + "0000 1" + f"{0:032b}{50:032b}" + "1 000 0 1")
        record = b"\1\x42\0\x0a\xff\xe1" + struct.pack(">H", len(sps)) + sps + b"\0"
        (self.folder / "avcC").write_bytes(struct.pack(">I4s", 16 + len(record), b"moov") +
                                           struct.pack(">I4s", 8 + len(record), b"avcC") + record)
        text = inspect(self.folder / "avcC").stdout.decode()
        self.assertIn("sps0 16x16 chroma 1 depth 8/8\n", text)
        derived = self.tree("avcC")["boxes"][0]["children"][0]["parameterSets"][0]["derived"]
        self.assertEqual(derived, {"width": 16, "height": 16, "chroma": 1, "depth": [8, 8]})

    def damaged(self, data, name, text):
        (self.folder / "damaged").write_bytes(data)
        result = inspect(self.folder / "damaged")
        self.assertEqual((result.returncode, result.stderr), (1, b""), name)
        self.assertIn(text, result.stdout.decode(), name)
        tree = self.tree("damaged", 1)
        self.assertFalse(tree["file"]["wellFormed"], name)
        self.assertIn(text, " ".join(finding["text"] for finding in tree["findings"]), name)
        return tree

    def test_damage(self):
        data = self.read("plain.mp4")
        moov = data.index(b"moov") - 4
        deep = b""
        for _ in range(1000):
            deep = struct.pack(">I4s", 8 + len(deep), b"moov") + deep
        cases = {
            "cut": (data[:moov + 500], "invalid length"),
            "cut in its first box": (data[:20], "exceeds container's length"),
            "stray": (data + b"abc", "3 stray bytes"),
            "zero size inside": (data[:moov + 8] + bytes(4) + data[moov + 12:], "Zero sized"),
            "too small": (data[:moov + 8] + b"\0\0\0\7" + data[moov + 12:], "inconsistent"),
            "deep": (deep, "nested more than"),
        }
        for name, (damaged, text) in cases.items():
            self.damaged(damaged, name, text)
        tree = self.damaged(struct.pack(">I4s", 8, b"stsd") * 1000, "many", "No version and flags")
        self.assertEqual((len(tree["findings"]), tree["moreFindings"]), (100, 1900))
        self.assertEqual(tree["findings"][-1]["path"], "stsd[49]")
        (self.folder / "terminated").write_bytes(data + struct.pack(">I4s", 12, b"udta") + bytes(4))
        self.assertEqual(inspect(self.folder / "terminated").returncode, 0, "movie files end lists with zeros")

    def test_damaged_avcC(self):
        data = self.read("plain.mp4")
        at = data.index(b"avcC") + 4
        length = struct.unpack_from(">H", data, at + 6)[0]
        cases = {
            "version": (0, b"\x09", "configurationVersion is 9"),
            "length": (6, b"\xff\xff", "ends inside of SPS 0"),
            "unreadable": (12, bytes(length - 4), "SPS 0: "),
            "another type": (8, b"\x68", "SPS 0: not a NAL unit"),
            "too many": (8 + length, b"\x09", "ends inside of PPS 1"),
            "no PPS": (8 + length + 3, b"\x67", "PPS 0: not a NAL unit"),
        }
        for name, (where, damage, text) in cases.items():
            tree = self.damaged(data[:at + where] + damage + data[at + where + len(damage):], name, text)
            finding = tree["findings"][0]
            self.assertEqual((finding["code"], finding["type"], finding["offset"], finding["path"]),
                             (-12714, "avcC", at - 8, "moov/trak[0]/mdia/minf/stbl/stsd/avc1/avcC"), name)
            record = next(box for box in every(tree["boxes"]) if box["type"] == "avcC")
            if name == "unreadable":
                self.assertEqual(record["parameterSets"][0]["error"]["code"], -12714)

    def test_truncations(self):
        data = self.read("fragmented.mp4")
        for length in range(8, min(len(data), 1500), 11):
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

    def test_shrinking(self):
        """A file that becomes shorter while the walk waits for its reader."""
        name = self.folder / "shrinking.mp4"
        name.write_bytes(struct.pack(">I4s", 8, b"free") * 50000)
        with subprocess.Popen([TOOL, name], stdout=subprocess.PIPE, stderr=subprocess.PIPE) as child:
            child.stdout.read(1)
            os.truncate(name, 8 * 20000)
            self.assertIn(b"became shorter", child.communicate(timeout=60)[1])
        self.assertEqual(child.returncode, 2)

    def test_refusals(self):
        (self.folder / "empty").write_bytes(b"")
        for name, data in (("text", b"no boxes at all, but text"), ("h264", b"\0\0\0\1\x67\x42\0\x0a" + bytes(90)),
                           ("aac", b"\xff\xf1\x50\x80" * 90), ("start", b"\0\0\0\x20ft")):
            (self.folder / name).write_bytes(data)
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for words, reason in ((["empty"], "is empty"), (["."], "is a directory"), (["fifo"], "not a regular file"),
                              (["missing"], "No such file"), ([], "Usage"), (["a", "b"], "Usage"),
                              (["--wrong"], "unrecognized"), (["text"], "not a movie or ISO file"),
                              (["h264"], "not a movie"), (["--json", "aac"], "not a movie"), (["start"], "not a movie")):
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
