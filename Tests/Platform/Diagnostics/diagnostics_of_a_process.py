"""Notes of a running process follow its preferences at SIGUSR1; corrupt stores and wrong types leave it running."""
import os
import pathlib
import plistlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROBE = sys.argv.pop(1)
DOMAIN = "com.orvane.luvia"


class Process:
    def __init__(self, folder, **environment):
        self.folder = pathlib.Path(folder)
        self.child = subprocess.Popen([PROBE], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                      env={**os.environ, "LUVIA_PREFERENCES_DIR": folder, **environment})

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.child.poll() is None:
            self.child.kill()
            self.child.communicate()

    def ask(self, line=""):
        self.child.stdin.write(line + "\n")
        self.child.stdin.flush()
        return [int(word) for word in self.child.stdout.readline().split()]

    def refresh_until(self, wanted):
        """The signal is handled on a queue: ask until the answer is there, or fail."""
        self.child.send_signal(signal.SIGUSR1)
        end = time.monotonic() + 30
        while time.monotonic() < end:
            if self.ask()[:2] == wanted:
                return
        raise AssertionError(f"{self.ask()} is not {wanted}")

    def end(self):
        errors = self.child.communicate(timeout=60)[1]
        return self.child.returncode, errors


def store(folder, **preferences):
    with open(pathlib.Path(folder) / f"{DOMAIN}.plist", "wb") as file:
        plistlib.dump(preferences, file)


class Diagnostics(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def test_preferences_are_read_again_at_the_signal(self):
        process = Process(self.folder.name)
        self.assertEqual(process.ask(), [0, 1, 0])
        store(self.folder.name, probe_trace=3, tav_notes="ring")
        process.refresh_until([3, 6])
        store(self.folder.name, probe_trace="yes", tav_notes="stderr")
        process.refresh_until([1, 2])
        store(self.folder.name)
        process.refresh_until([0, 1])
        self.assertEqual(process.end()[0], 0)

    def test_long_lines_of_several_processes_do_not_tear(self):
        log = pathlib.Path(self.folder.name) / "shared.log"
        store(self.folder.name, tav_notes="external", tav_notes_log=str(log))
        processes = [Process(self.folder.name) for _ in range(3)]
        for process in processes:
            process.child.stdin.write("long\n")
        for process in processes:
            self.assertEqual(process.end()[0], 0)
        lines = [line for line in log.read_text().splitlines() if line and not line.startswith(("===", "["))]
        self.assertEqual(len(lines), 600)
        self.assertTrue(all(line == 20000 * line[0] for line in lines))

    def test_wrong_types_and_a_corrupt_store_do_no_harm(self):
        store(self.folder.name, probe_trace=[1, 2], tav_notes={"a": 1}, automatic_tav_notes=[], logurls=b"x")
        process = Process(self.folder.name)
        self.assertEqual(process.ask("fail"), [0, 1, 0])
        (pathlib.Path(self.folder.name) / f"{DOMAIN}.plist").write_bytes(b"<plist><dict><key>broken")
        process.refresh_until([0, 1])
        self.assertEqual(process.end()[0], 0)

    def test_backtraces_and_urls_on_demand(self):
        store(self.folder.name, bt_signal_error=True, logurls="true", tav_notes="stderr")
        process = Process(self.folder.name)
        self.assertEqual(process.ask("fail")[2], 1)
        errors = process.end()[1]
        self.assertIn('OstraDebug servicesWantsBacktraces: Displaying backtrace for TavSignalError -- thank you', errors)
        self.assertIn("Allowing to log URLs -- thank you for setting", errors)
        self.assertRegex(errors, r"signalled err=-16682 .*\n 1  0x")

    def test_breaks_only_where_the_environment_says_exactly_1(self):
        for setting, traps in (("1", True), ("11", False), ("0", False), ("", False)):
            process = Process(self.folder.name, USERBREAK=setting)
            process.child.stdin.write("break\n")
            self.assertEqual(process.end()[0] < 0, traps, setting)


if __name__ == "__main__":
    unittest.main()
