"""run.sh as the first thing that a user types: silent when all is built, quick, and at home in the caller's folder."""

import os
import subprocess
import unittest

from support import BUILD, ROOT, ToolTest

RUN = ROOT / "run.sh"
VERSION = "id3tag: Version 1.22.4 (659.18b-240228)\n"


@unittest.skipUnless(BUILD == ROOT / "build/release", "run.sh runs the release build")
class RunScript(ToolTest):
    def run_script(self, *words, **options):
        return subprocess.run([RUN, *map(str, words)], capture_output=True, text=True, timeout=500,
                              **{"cwd": self.folder, **options})

    def test_from_any_folder_and_silent(self):
        self.run_script("-v")  # whatever is to be built is built now
        before = (BUILD / "Tools/id3tag/id3tag").stat().st_mtime_ns
        source = self.file("a b.bin", b"x")
        done = self.run_script("--title=Hello", "--generic-object", source.name, "-o", "out put.id3")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))
        self.assertIn(b"a b.bin", (self.folder / "out put.id3").read_bytes())
        self.assertEqual((BUILD / "Tools/id3tag/id3tag").stat().st_mtime_ns, before)

    def test_through_a_link_and_a_relative_path(self):
        (self.folder / "link").symlink_to(RUN)
        relative = os.path.relpath(RUN, self.folder)
        for command in ("./link", relative):
            done = subprocess.run([command, "-v"], capture_output=True, text=True, cwd=self.folder, timeout=500)
            self.assertEqual((done.stdout, done.stderr), ("", VERSION))

    def test_the_first_command_of_the_readme(self):
        command = next(line for line in (ROOT / "README.md").read_text().splitlines() if line.startswith("    ./run.sh"))
        for name in ("run.sh", "Examples"):
            (self.folder / name).symlink_to(ROOT / name)
        done = subprocess.run(["sh", "-c", command], capture_output=True, text=True, cwd=self.folder, timeout=500)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))
        self.assertIn((ROOT / "Examples/cover.png").read_bytes(), (self.folder / "hello.id3").read_bytes())

    def test_several_at_once(self):
        running = [subprocess.Popen([RUN, "-v"], stderr=subprocess.PIPE, text=True) for _ in range(3)]
        self.assertEqual({one.communicate(timeout=500)[1] for one in running}, {VERSION})

    @unittest.skipUnless(os.geteuid() == 0, "needs another user")
    def test_a_user_who_may_not_build_runs_what_is_built(self):
        self.run_script("-v")
        done = subprocess.run(["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", RUN, "-v"],
                              capture_output=True, text=True, timeout=500)
        self.assertEqual((done.returncode, done.stderr), (0, VERSION))

    def test_the_tool_keeps_standard_input_and_its_usage(self):
        done = self.run_script("-i", "/dev/stdin", "-o", "out", input="")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("Usage:", self.run_script().stderr)


if __name__ == "__main__":
    unittest.main()
