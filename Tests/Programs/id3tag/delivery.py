"""Deliveries over TCP: what a segmenter receives, and what becomes of the tool when the segmenter misbehaves."""

import fcntl
import re
import select
import shutil
import socket
import struct
import subprocess
import termios
import time
import unittest

from support import SANITIZED, TOOL, Segmenter, ToolTest

def resolves(name):
    try:
        return socket.gethostbyname(name) == "127.0.0.1"
    except OSError:
        return False


def until_no_more_fits(connection):
    """Returns once all buffers are full, so that the sender stands in send: what waits here has stopped growing."""
    def waiting():
        return struct.unpack("i", fcntl.ioctl(connection, termios.FIONREAD, bytes(4)))[0]

    end, seen = time.monotonic() + 30, -1
    while (seen <= 0 or waiting() != seen) and time.monotonic() < end:
        seen = waiting()
        select.select([], [], [], 0.05)  # longer than a sender that can send takes


def can_trace():
    return shutil.which("strace") and subprocess.run(["strace", "-o", "/dev/null", "true"], check=False).returncode == 0


HAS_LOCALHOST = resolves("localhost")  # a bare system may have no /etc/hosts
SEND_FAILED = ("Failed to send ID3 tag\n", False)


class Delivery(ToolTest):
    def blob(self, size):
        return self.file("blob", bytes(i * 7 % 251 for i in range(4096)) * (size // 4096))

    def test_the_same_tag_goes_to_file_and_segmenter(self):
        with Segmenter() as segmenter:
            self.assertEqual(self.run_tool("--title=a", "-a", segmenter.address, "-o", self.tag), ("", False))
        tag = self.tag.read_bytes()
        self.assertEqual(segmenter.received, struct.pack(">IB", len(tag), 0) + tag)

    def test_header_of_an_empty_tag_with_repeat(self):
        with Segmenter() as segmenter:
            address = segmenter.address.replace("127.0.0.1", "localhost") if HAS_LOCALHOST else segmenter.address
            self.assertEqual(self.run_tool("-a", address, "-r"), ("", False))
        self.assertEqual(segmenter.received, b"\0\0\0\x0a\1" + b"ID3\4\0\0\0\0\0\0")

    def test_slow_reader_of_a_tag_larger_than_all_buffers(self):
        def serve(self, connection):
            until_no_more_fits(connection)
            self.take_all(connection, 1 << 14)
        blob = self.blob(24 << 20)
        with Segmenter(serve, receive_buffer=4096) as segmenter:
            self.assertEqual(self.run_tool("--generic-object", blob, "-a", segmenter.address), ("", False))
        self.assertGreater(len(segmenter.received), 24 << 20)
        self.assertEqual(struct.unpack(">IB", segmenter.received[:5]), (len(segmenter.received) - 5, 0))
        self.assertTrue(segmenter.received.endswith(blob.read_bytes()))

    def test_early_close_is_an_error_and_no_signal(self):
        def closes_at_once(self, connection):
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))

        def closes_in_the_middle(self, connection):
            connection.recv(100000)

        def never_reads(self, connection):
            until_no_more_fits(connection)

        blob = self.blob(24 << 20)
        for serve in (closes_at_once, closes_in_the_middle, never_reads):
            with self.subTest(serve.__name__), Segmenter(serve) as segmenter:
                self.assertEqual(self.run_tool("--generic-object", blob, "-a", segmenter.address, "-o", self.tag),
                                 SEND_FAILED)
            self.assertGreater(self.tag.stat().st_size, 24 << 20)

    def test_refusal(self):
        listener = Segmenter()
        listener.listener.close()
        self.assertEqual(self.run_tool("--title=a", "-a", listener.address), SEND_FAILED)

    def test_addresses_that_are_none(self):
        for address in ("", ":", "::1:80", "127.0.0.1:no-such-service", "127.0.0.1:65536x"):
            with self.subTest(address):
                said = self.run_tool("--title=a", "-o", self.tag, "-a", address)
                self.assertEqual(said, ("Invalid address/port\n", False) if not address else SEND_FAILED)

    @unittest.skipIf(SANITIZED or not can_trace(), "needs leave to trace, and a tool that strace can follow")
    def test_system_calls_of_one_delivery(self):
        trace = self.folder / "trace"
        with Segmenter() as segmenter:
            subprocess.run(["strace", "-f", "-e", "trace=socket,connect,sendto,recvfrom,shutdown,setsockopt,clone3",
                            "-o", trace, TOOL, "--generic-object", self.blob(1 << 20), "-a", segmenter.address],
                           check=True, timeout=60)
        calls = trace.read_text()
        asked = [int(size) for size in re.findall(r"sendto\(.*, (\d+), MSG_NOSIGNAL", calls)]
        self.assertEqual(asked[0], 5)
        self.assertEqual(set(asked[1:-1]), {1400})
        self.assertEqual(sum(asked), len(segmenter.received))
        self.assertNotRegex(calls, r"recvfrom|shutdown|setsockopt\(3|clone3")


if __name__ == "__main__":
    unittest.main()
