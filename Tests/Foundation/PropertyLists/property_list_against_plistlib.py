"""Property lists that Python's plistlib wrote are read, and what plist_probe writes of them plistlib reads as the same."""

import datetime
import os
import plistlib
import random
import subprocess
import sys
import tempfile
import unittest

PROBE = sys.argv.pop(1)
FORMATS = {"xml": plistlib.FMT_XML, "binary": plistlib.FMT_BINARY}

INTEGERS = [0, 1, -1, 127, 128, 255, 256, 65535, 65536, 2**31 - 1, 2**31, 2**32 - 1, 2**32, 2**63 - 1, 2**63, 2**64 - 1,
            -2**31, -2**63]
REALS = [0.0, 1.0, 0.1, 1e300, -1e-300, 5e-324, 1.7976931348623157e308, float("inf"), float("-inf"), 3.5, 2.0**53]
TEXTS = ["", "plain", "a & b < c > d \" '", "café", "日本語", "𝄞 clef", " spaces ", "tab\tline\n", "x" * 14, "x" * 15, "x" * 70000,
         "é" * 15, "]]>", "\u2028"]
BLOBS = [b"", b"\0", b"ab", b"abc", bytes(range(256)), b"z" * 57, b"z" * 58, os.urandom(70000)]
DATES = [datetime.datetime(2001, 1, 1), datetime.datetime(1970, 1, 1), datetime.datetime(1, 1, 1), datetime.datetime(2000, 2, 29, 23, 59, 59),
         datetime.datetime(9999, 12, 31, 23, 59, 59), datetime.datetime(1900, 2, 28), datetime.datetime(1899, 12, 31, 12, 30, 1)]


def same(a, b):
    """Equal with equal types: 1, 1.0 and True differ."""
    if type(a) is not type(b):
        return False
    if isinstance(a, dict):
        return list(a) == list(b) and all(same(a[k], b[k]) for k in a)
    if isinstance(a, list):
        return len(a) == len(b) and all(map(same, a, b))
    return repr(a) == repr(b)


def arbitrary(rng, depth):
    kind = rng.randrange(9 if depth else 7)
    if kind == 0:
        return rng.choice(INTEGERS)
    if kind == 1:
        return rng.choice(REALS)
    if kind == 2:
        return rng.choice(TEXTS[:-4])
    if kind == 3:
        return rng.choice(BLOBS[:-1])
    if kind == 4:
        return rng.choice(DATES)
    if kind == 5:
        return rng.random() < 0.5
    if kind == 6:
        return rng.getrandbits(rng.randrange(1, 64)) - rng.getrandbits(20)
    if kind == 7:
        return [arbitrary(rng, depth - 1) for _ in range(rng.choice([0, 1, 5, 14, 15, 20]))]
    return {f"k{rng.randrange(50)}": arbitrary(rng, depth - 1) for _ in range(rng.randrange(20))}


class AgainstPlistlib(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.given = os.path.join(self.folder.name, "given.plist")
        self.out = os.path.join(self.folder.name, "out.plist")

    def probe(self, form, data, options=0):
        with open(self.given, "wb") as file:
            file.write(data)
        return subprocess.run([PROBE, form, str(options), self.given, self.out], capture_output=True, text=True, timeout=60)

    def check(self, value, options=0):
        for source in FORMATS.values():
            data = plistlib.dumps(value, fmt=source, sort_keys=False)
            for form, target in FORMATS.items():
                result = self.probe(form, data, options)
                self.assertEqual(result.returncode, 0, result.stderr)
                with open(self.out, "rb") as file:
                    back = plistlib.load(file, fmt=target)
                self.assertTrue(same(value, back), f"{form} from {source}: {str(value)[:300]}\n{str(back)[:300]}")

    def test_every_kind_of_value(self):
        self.check([INTEGERS, REALS, TEXTS, BLOBS, DATES, [True, False], {}, []])
        self.check({text or "empty": text for text in TEXTS}, options=2)
        self.check("a root that is no container")

    def test_many_objects_take_wider_indices(self):
        self.check([f"text {i}" for i in range(70000)], options=1)
        self.check(list(range(300)))

    def test_arbitrary_lists(self):
        seed = random.randrange(2**32)
        rng = random.Random(seed)
        for i in range(12):
            with self.subTest(seed=seed, i=i):
                self.check({"root": arbitrary(rng, 4)}, options=i % 3)

    def test_zeros_of_both_signs_not_a_number_and_shared_containers(self):
        shared = ["shared"] * 3
        for source in FORMATS.values():
            for form in FORMATS:
                zeros = [-0.0, 0.0] if source == plistlib.FMT_XML else [-0.0]  # plistlib's binary writer holds them equal
                result = self.probe(form, plistlib.dumps([float("nan"), shared, shared, zeros], fmt=source))
                self.assertEqual(result.returncode, 0, result.stderr)
                with open(self.out, "rb") as file:
                    value = plistlib.load(file)
                self.assertNotEqual(value[0], value[0])
                self.assertEqual(value[1:3], [shared, shared])
                self.assertEqual(repr(value[3]), repr(zeros))

    def test_other_encodings_of_xml(self):
        text = plistlib.dumps({"k": "café"}).decode().replace("UTF-8", "UTF-16")
        self.assertEqual(self.probe("binary", text.encode("utf-16")).returncode, 0)
        with open(self.out, "rb") as file:
            self.assertEqual(plistlib.load(file), {"k": "café"})


if __name__ == "__main__":
    unittest.main()
