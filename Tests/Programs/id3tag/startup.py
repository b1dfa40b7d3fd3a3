"""What the tool loads: the C library and nothing else, so that it starts as fast as a program can."""

import subprocess
import unittest

from support import SANITIZED, TOOL


class Startup(unittest.TestCase):
    @unittest.skipIf(SANITIZED, "a sanitizer brings its own libraries")
    def test_loads_the_c_library_alone(self):
        listed = subprocess.run(["ldd", TOOL], check=True, capture_output=True, text=True).stdout
        loaded = {line.split()[0].split("/")[-1].split(".")[0] for line in listed.splitlines()}
        self.assertLessEqual(loaded, {"linux-vdso", "libc", "ld-linux-x86-64", "ld-linux-aarch64"})


if __name__ == "__main__":
    unittest.main()
