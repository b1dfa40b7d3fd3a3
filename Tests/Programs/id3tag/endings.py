"""Every way in which a run ends: what is said, whether the usage text follows, what is delivered. The status is 0."""

import os
import re
import resource
import socket
import struct
import subprocess
import unittest

from support import LIMIT, SANITIZED, TOOL, Segmenter, ToolTest


def limited(kind, value):
    return lambda: resource.setrlimit(kind, (value, value))


class Endings(ToolTest):
    def ends(self, complaint, usage, *words, delivered=False, **options):
        self.tag.unlink(missing_ok=True)
        self.assertEqual(self.run_tool(*words, **options), (complaint, usage))
        self.assertEqual(self.tag.exists(), delivered)

    def test_without_a_tag(self):
        out = ("-o", self.tag)
        secret = self.file("secret", b"x")
        rows = (
            ("No output defined\n", True, []),
            ("No output defined\n", True, ["--title=a"]),
            ("", True, [*out, "-h"]),
            (f"{TOOL}: unrecognized option '--bogus'\nUnknown argument\n", True, [*out, "--bogus"]),
            ("Unknown argument\n", True, [*out, "-d", "x"]),
            ("The --url-type option can only be used with url tags\n", True, [*out, "-t", "a", "--url-type=WCOM"]),
            ("Invalid text type (ABCD)\n", True, [*out, "-t", "a", "--text-type=ABCD"]),
            ("ID3 frame creaton failed\n", False, ["-i", secret, "--picture-type=21", *out]),
            ("Failed getting source file size (Not a directory)\n", False, ["-i", secret / "below", *out]),
        )
        for complaint, usage, words in rows:
            with self.subTest(words=words):
                self.ends(complaint, usage, *words)

    def test_the_usage_text_names_options_that_exist(self):
        text = subprocess.run([TOOL, "-h"], capture_output=True, text=True, check=True).stderr
        self.assertTrue(text.startswith(f"Usage:{TOOL} [options] [ID3 frame definition 1] [ID3 frame definition 2] ...\n"))
        self.assertTrue(text.endswith("\tWORS: official internet station home page\n"))
        names = set(re.findall(r"--([a-z-]+)", text))
        self.assertGreater(len(names), 15)
        for name in names:
            said = self.run_tool(f"--{name}=" if name not in ("help", "repeat", "version") else f"--{name}")[0]
            self.assertNotIn("unrecognized", said)

    def test_version(self):
        self.assertEqual(self.run_tool("--title=a", "-o", self.tag, "-v"),
                         ("id3tag: Version 1.22.4 (659.18b-240228)\n", False))
        self.assertFalse(self.tag.exists())
        named = self.folder / "other name"
        named.symlink_to(TOOL)
        done = subprocess.run([named, "-v"], capture_output=True, text=True)
        self.assertEqual(done.stderr, "other name: Version 1.22.4 (659.18b-240228)\n")
        nameless = os.path.join(os.fsencode(self.folder), b"\xff")
        os.symlink(TOOL, nameless)
        done = subprocess.run([nameless, "-v"], capture_output=True)
        self.assertEqual(done.returncode, 0)
        signalled, text = done.stderr.decode().splitlines()
        self.assertIn("SCCreateExecutableName signalled err=-1", signalled)
        self.assertEqual(text, "(null): Version 1.22.4 (659.18b-240228)")

    def test_unreadable_sources(self):
        out = ("-o", self.tag)
        self.ends("Error reading source file (Is a directory)\n", False, "-i", self.folder, *out)
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(str(self.folder / "socket"))
            self.ends("Source file open failed (No such device or address)\n", False, "-i", "socket", *out)

    def test_unwritable_output(self):
        self.ends("Failed to write ID3 tag\n", False, "--title=a", "-o", "/nowhere/x")
        with Segmenter() as segmenter:
            self.ends("Failed to write ID3 tag\n", False, "--title=a", "-o", self.folder, "-a", segmenter.address)
        self.assertEqual(len(segmenter.received), 5 + 10 + 13)

    def test_a_file_that_fails_keeps_no_tag_from_being_sent(self):
        blob = self.file("blob", bytes(1 << 20))
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)

        def into_a_pipe_without_a_reader(words):
            ours, theirs = os.pipe()
            os.close(ours)
            with open(theirs, "wb") as dead:
                return subprocess.run([*words, "-o", "/dev/stdout"], stdout=dead, stderr=subprocess.PIPE, timeout=120)

        def into_a_fifo_whose_reader_leaves(words):
            running = subprocess.Popen([*words, "-o", fifo], stderr=subprocess.PIPE)
            with open(fifo, "rb") as reader:
                reader.read(10)
            said = running.communicate(timeout=120)[1]
            return subprocess.CompletedProcess(words, running.returncode, stderr=said)

        def past_the_limit_of_file_sizes(words):
            return subprocess.run([*words, "-o", self.tag], stderr=subprocess.PIPE, timeout=120,
                                  preexec_fn=limited(resource.RLIMIT_FSIZE, 4096))

        def with_a_small_tag_on_a_full_device(words):
            return subprocess.run([*words, "-o", "/dev/full"], stderr=subprocess.PIPE, timeout=120)

        for run, option in ((into_a_pipe_without_a_reader, f"--generic-object={blob}"),
                            (into_a_fifo_whose_reader_leaves, f"--generic-object={blob}"),
                            (past_the_limit_of_file_sizes, f"--generic-object={blob}"),
                            (with_a_small_tag_on_a_full_device, "--title=a")):
            with self.subTest(run.__name__), Segmenter() as segmenter:
                done = run([TOOL, option, "-a", segmenter.address])
                self.assertEqual((done.returncode, done.stderr), (0, b"Failed to write ID3 tag\n"))
            self.assertEqual(len(segmenter.received), 5 + struct.unpack(">I", segmenter.received[:4])[0])

    def test_nobody_listens_to_complaints(self):
        ours, theirs = os.pipe()
        os.close(ours)
        with open(theirs, "wb") as dead, Segmenter() as segmenter:
            done = subprocess.run([TOOL, "--title=a", "-o", "/nowhere/x", "-a", segmenter.address], stderr=dead)
        self.assertEqual((done.returncode, len(segmenter.received)), (0, 5 + 10 + 13))

    def test_without_standard_streams_no_complaint_goes_into_the_tag(self):
        done = subprocess.run(["sh", "-c", f"{TOOL} --title=a -o {self.tag} -a 127.0.0.1:x <&- >&- 2>&-"], check=False)
        self.assertEqual((done.returncode, self.tag.stat().st_size), (0, 10 + 13))

    def test_size_limits(self):
        too_large = self.sparse("large", LIMIT)
        for option in ("-i", "--generic-object", "--plist"):
            self.ends("Source file size over 256 MB\n", False, f"{option}", too_large, "-o", self.tag)
        # GEOB: 10 + encoding, three terminators, MIME type, file name; the tag has 10 bytes more.
        around = 14 + len("a/b") + len("frame")
        largest_frame = LIMIT - 1 - around
        words = ("--generic-object=frame", "--generic-object-type=a/b", "-o", self.tag)
        for size, complaint in ((LIMIT - 1, "ID3 frame creaton failed\n"),
                                (largest_frame + 1, "ID3 frame creaton failed\n"),
                                (largest_frame, "ID3 frame generation failed\n"),
                                (largest_frame - 9, "ID3 frame generation failed\n")):
            with self.subTest(size=size):
                self.sparse("frame", size)
                self.ends(complaint, False, *words)
        self.sparse("frame", largest_frame - 10)
        self.ends("", False, *words, delivered=True)
        self.assertEqual(self.tag.stat().st_size, LIMIT - 1)
        with open(self.tag, "rb") as file:
            self.assertEqual(file.read(10), b"ID3\4\0\0\x7f\x7f\x7f\x75")

    @unittest.skipIf(SANITIZED, "a sanitizer needs address space of its own")
    def test_no_memory(self):
        size = 64 << 20
        self.sparse("object", size)
        picture = ("-i", "object", "-o", self.tag)
        plain = ("--plist=object", "-o", self.tag)
        rows = (
            (1, picture, "Memory Allocation failure\n"),
            (1, plain, "Memory Allocation failure"),
            (2, plain, "ID3 frame creaton failed\n"),
            (4, ("--plist=object", *plain), "ID3 frame generation failed\n"),
        )
        for payloads, words, complaint in rows:
            with self.subTest(payloads=payloads):
                self.ends(complaint, False, *words, preexec_fn=limited(resource.RLIMIT_AS, payloads * size))


if __name__ == "__main__":
    unittest.main()
