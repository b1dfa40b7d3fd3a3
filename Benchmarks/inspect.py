#!/usr/bin/env python3
"""luvia-inspect on sparse files of 10 GiB with 100,000 boxes, beside the start of ffprobe and mediainfo on a file of
1 MiB; one tab-separated row a claim. The programs take turns; a time is the median of a program's turns."""

import os
import pathlib
import shutil
import statistics
import struct
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
BUILD = pathlib.Path(os.environ.get("LUVIA_BUILD_DIR", HERE.parent / "build/release"))
TOOL = str(BUILD / "Tools/inspect/luvia-inspect")
BOXES, TOTAL, TURNS = 100_000, 10 << 30, 9


def run(words):
    """(seconds, peak bytes) of one process."""
    quiet = [(os.POSIX_SPAWN_OPEN, fd, os.devnull, os.O_WRONLY, 0) for fd in (1, 2)]
    start = time.perf_counter()
    _, status, usage = os.wait4(os.posix_spawn(words[0], words, os.environ, file_actions=quiet), 0)
    if status != 0:
        sys.exit(f"inspect.py: {words} ended with {status}")
    return time.perf_counter() - start, usage.ru_maxrss * 1024


def spread(path):
    """Every box in a page of its own."""
    step = TOTAL // BOXES
    with open(path, "wb") as file:
        for i in range(BOXES):
            file.seek(i * step)
            file.write(struct.pack(">I4s", step, b"mdat"))
        file.truncate(BOXES * step)


def packed(path):
    """A table of contents, and media data behind it."""
    with open(path, "wb") as file:
        file.write(struct.pack(">I4s", 8, b"free") * (BOXES - 1) + struct.pack(">I4sQ", 1, b"mdat", TOTAL))
        file.truncate(8 * (BOXES - 1) + TOTAL)


def row(name, ours, other, unit, bar):
    holds = "holds" if ours <= bar * other else "falls short"
    print(name, f"{ours:.4g} {unit}", f"{other:.4g} {unit}", f"{ours / other:.2f}", f"<= {bar:g}", holds, sep="\t", flush=True)


def main():
    folder = pathlib.Path(tempfile.mkdtemp(dir=os.environ.get("TMPDIR")))
    try:
        movie = str(folder / "movie.mp4")
        subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=d=4:s=640x360", "-b:v", "2M", "-fs", "1M",
                        movie], check=True, stdin=subprocess.DEVNULL)
        spread(folder / "spread.mp4")
        packed(folder / "packed.mp4")
        programs = {"spread": [TOOL, str(folder / "spread.mp4")], "packed": [TOOL, str(folder / "packed.mp4")],
                    "ffprobe": [shutil.which("ffprobe"), movie], "mediainfo": [shutil.which("mediainfo"), movie]}
        results = {name: [] for name in programs}
        for turn in range(TURNS + 1):
            for name, words in programs.items():
                result = run(words)
                if turn > 0:  # the first turn warms the caches
                    results[name].append(result)
        seconds = {name: statistics.median(second for second, _ in turns) for name, turns in results.items()}
        for layout in "spread", "packed":
            row(f"inspect {layout}: ffprobe", seconds[layout], seconds["ffprobe"], "s", 3)
            row(f"inspect {layout}: memory", max(peak for _, peak in results[layout]) / 2**20, 64, "MiB", 1)
        row("inspect packed: mediainfo", seconds["packed"], seconds["mediainfo"], "s", 3)
    finally:
        shutil.rmtree(folder)


main()
