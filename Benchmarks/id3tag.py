#!/usr/bin/env python3
"""The tag tool as a whole process, beside the programs that do the same work; one tab-separated row a claim.

The programs of one comparison take turns, so that what disturbs one disturbs all. A time is the median of a program's
turns where it is short, and the least of them where the disk has its say. LUVIA_BUILD_DIR names the release build.
"""

import os
import pathlib
import shutil
import socket
import statistics
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
BUILD = pathlib.Path(os.environ.get("LUVIA_BUILD_DIR", HERE.parent / "build/release"))
TOOL = str(BUILD / "Tools/id3tag/id3tag")
PAYLOAD = 200 << 20
MIB = 1 << 20


def baseline(name, *flags):
    """Builds a program of Benchmarks/baselines."""
    program = BUILD / "Benchmarks" / name
    program.parent.mkdir(exist_ok=True)
    subprocess.run(["g++", "-O2", "-std=c++20", HERE / f"baselines/{name}.cpp", "-o", program, *flags], check=True)
    return str(program)


def run(words):
    """(seconds, peak bytes) of one process."""
    quiet = [(os.POSIX_SPAWN_OPEN, fd, os.devnull, os.O_WRONLY, 0) for fd in (1, 2)]
    start = time.perf_counter()
    child = os.posix_spawn(words[0], words, os.environ, file_actions=quiet)
    _, status, usage = os.wait4(child, 0)
    seconds = time.perf_counter() - start
    if status != 0:
        sys.exit(f"id3tag.py: {words} ended with {status}")
    return seconds, usage.ru_maxrss * 1024


def take_turns(programs, turns, summary, before=lambda: None, runner=run):
    """Runs every program `turns` times, in turn; (summarised seconds, largest peak) by name."""
    results = {name: [] for name in programs}
    for turn in range(turns + 1):
        for name, words in programs.items():
            before()
            result = runner(words)
            if turn > 0:  # the first turn warms the caches
                results[name].append(result)
    return {name: (summary(seconds for seconds, _ in runs), max(peak for _, peak in runs))
            for name, runs in results.items()}


def row(name, ours, other, unit, factor, relation="<="):
    ratio = ours / other
    holds = ratio <= factor if relation == "<=" else ratio >= factor
    print(name, f"{ours:.4g} {unit}", f"{other:.4g} {unit}", f"{ratio:.2f}", f"{relation} {factor:g}",
          "holds" if holds else "falls short", sep="\t", flush=True)


def start(folder, taglib):
    music = str(folder / "music.mp3")
    subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "sine=d=0.2", music], check=True,
                   stdin=subprocess.DEVNULL)
    out = str(folder / "out.id3")
    mutagen = ("from mutagen.id3 import ID3, TIT2, TPE1, TALB\nt = ID3()\n"
               "for kind in TIT2, TPE1, TALB: t.add(kind(encoding=3, text='a'))\n"
               f"t.save({out!r})")
    fast = take_turns({
        "id3tag": [TOOL, "--title=a", "--artist=b", "--album=c", "-o", out],
        "/bin/true": ["/bin/true"],
        "TagLib program": [taglib, out, "a", "b", "c"],
        "id3v2": [shutil.which("id3v2"), "-t", "a", "-a", "b", "-A", "c", music],
    }, 600, statistics.median)
    slow = take_turns({
        "mutagen": ["/usr/bin/python3", "-c", mutagen],
        "eyeD3": [shutil.which("eyeD3"), "-t", "a", "-a", "b", "-A", "c", music],
    }, 10, statistics.median)
    milliseconds = {name: seconds * 1e3 for name, (seconds, _) in (fast | slow).items()}
    ours = milliseconds.pop("id3tag")
    row("id3tag three texts / bin_true", ours, milliseconds.pop("/bin/true"), "ms", 1.5)
    for name, other in milliseconds.items():
        row(f"id3tag three texts / {name}", ours, other, "ms", 1.0)


def large_object(folder, taglib, payload):
    out = str(folder / "out")

    def forget():
        pathlib.Path(out).unlink(missing_ok=True)
    measured = take_turns({
        "id3tag": [TOOL, "--generic-object", payload, "-o", out],
        "cp": [shutil.which("cp"), "--reflink=never", payload, out],
        "TagLib program": [taglib, out, payload],
    }, 15, min, before=forget)
    forget()
    row("id3tag 200 MiB to file / cp", measured["id3tag"][0], measured["cp"][0], "s", 3.0)
    row("id3tag 200 MiB to file / TagLib program", measured["id3tag"][0], measured["TagLib program"][0], "s", 0.6)
    row("id3tag 200 MiB peak / 2 payloads + 16 MiB", measured["id3tag"][1] / MIB, (2 * PAYLOAD + 16 * MIB) / MIB, "MiB", 1.0)
    row("id3tag 200 MiB peak / TagLib program", measured["id3tag"][1] / MIB, measured["TagLib program"][1] / MIB, "MiB", 1.0)


RECEIVER = """
import socket, sys
listener = socket.socket(fileno=int(sys.argv[1]))
piece = bytearray(1 << 20)
while True:
    connection, _ = listener.accept()
    while connection.recv_into(piece): pass
    connection.close()
"""


def sending(payload):
    listener = socket.create_server(("127.0.0.1", 0))
    port = str(listener.getsockname()[1])
    receiver = subprocess.Popen([sys.executable, "-c", RECEIVER, str(listener.fileno())], pass_fds=[listener.fileno()])
    try:
        measured = take_turns({
            "id3tag": [TOOL, "--generic-object", payload, "-a", f"127.0.0.1:{port}"],
            "send loop": [baseline("send_loop"), port, str(PAYLOAD)],
        }, 5, min)
    finally:
        receiver.kill()
        receiver.wait()
    throughput = {name: PAYLOAD / MIB / seconds for name, (seconds, _) in measured.items()}
    row("id3tag 200 MiB sent / 1400-byte send loop", throughput["id3tag"], throughput["send loop"], "MiB/s", 0.5, ">=")


def main():
    taglib = baseline("taglib_tag", "-ltag")
    memory = "/dev/shm" if os.path.isdir("/dev/shm") else None  # no disk in the time of a start
    with tempfile.TemporaryDirectory(dir=memory) as folder:
        start(pathlib.Path(folder), taglib)
    with tempfile.TemporaryDirectory(dir=BUILD) as folder:
        payload = pathlib.Path(folder) / "payload"
        with open(payload, "wb") as file:
            for _ in range(PAYLOAD // MIB):
                file.write(os.urandom(MIB))
        large_object(pathlib.Path(folder), taglib, str(payload))
        sending(str(payload))


if __name__ == "__main__":
    main()
