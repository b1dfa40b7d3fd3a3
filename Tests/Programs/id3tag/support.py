"""What the tests of the id3tag program share: running it, files for it, a segmenter to send to."""

import os
import pathlib
import socket
import struct
import subprocess
import tempfile
import threading
import unittest
import zlib

BUILD = pathlib.Path(os.environ["LUVIA_BUILD_DIR"])
TOOL = BUILD / "Tools/id3tag/id3tag"
ROOT = pathlib.Path(__file__).resolve().parents[3]
SANITIZED = "LUVIA_SANITIZE:STRING=\n" not in (BUILD / "CMakeCache.txt").read_text()
LIMIT = 1 << 28


class ToolTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="id3tag-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.tag = self.folder / "out.id3"

    def run_tool(self, *words, **options):
        """Runs the tool; (what it said, whether the usage text followed). It always ends with 0 and never uses stdout."""
        done = subprocess.run([TOOL, *map(str, words)], capture_output=True, timeout=120, cwd=self.folder, **options)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout, b"")
        complaint, usage, _ = done.stderr.decode().partition(f"Usage:{TOOL} [options]")
        return complaint, bool(usage)

    def make_tag(self, *words):
        """Runs the tool with an output file and gives the file's bytes; nothing may be said."""
        self.assertEqual(self.run_tool(*words, "-o", self.tag), ("", False))
        return self.tag.read_bytes()

    def file(self, name, content):
        path = self.folder / name
        path.write_bytes(content)
        return path

    def sparse(self, name, size):
        path = self.folder / name
        with open(path, "wb") as file:
            file.truncate(size)
        return path


def png():
    """A picture of 2 by 2 pixels."""
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    rows = b"\0\xff\0\0\0\xff\0" + b"\0\0\0\xff\xff\xff\xff"
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 2, 2, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


class Segmenter:
    """Listens on loopback and keeps what one connection sends. `serve(connection)` does the receiving in a thread."""

    def __init__(self, serve=None, receive_buffer=None):
        self.listener = socket.socket()
        if receive_buffer:
            self.listener.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.listener.bind(("127.0.0.1", 0))
        self.listener.listen(1)
        self.listener.settimeout(60)
        self.address = "127.0.0.1:%d" % self.listener.getsockname()[1]
        self.received = bytearray()
        self.reads = []
        self.serve = serve or Segmenter.take_all
        self.thread = threading.Thread(target=self.run, daemon=True)

    def run(self):
        connection, _ = self.listener.accept()
        with connection:
            self.serve(self, connection)

    def take_all(self, connection, size=1 << 16):
        while piece := connection.recv(size):
            self.received += piece
            self.reads.append(len(piece))

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.thread.join(60)
        self.listener.close()
