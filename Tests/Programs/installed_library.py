"""What `cmake --install` puts in place serves a C program that knows only luvia.pc."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

PROGRAM = r"""
#include <stdio.h>

#include "Core/TavBlockBuffer/LuBlockBuffer.h"
#include "Core/TavFormatDescription/LuFormatDescription.h"
#include "Core/TavTag/LuTagCollection.h"
#include "Core/TavTime/LuTime.h"
#include "DataIO/TavByteStreams/LuByteStream.h"
#include "Foundation/Text/ZoString.h"

int main(void)
{
    LuTime sum = LuTimeAdd(LuTimeMake(1, 2), LuTimeMake(1, 3));
    ZoStringRef text = ZoStringCreateWithFormat(NULL, NULL, ZOSTR("%@ %lld/%d"), ZOSTR("sum"), (long long)sum.value,
                                                (int)sum.timescale);
    char bytes[64];
    ZoStringGetCString(text, bytes, sizeof(bytes), kZoStringEncodingUTF8);
    puts(bytes);
    ZoRelease(text);
    return LuBlockBufferCreateEmpty(NULL, 4, 0, NULL) == kTavBlockBufferBadPointerParameterErr ? 0 : 1;
}
"""


def flags(pc):
    """Cflags and Libs of a .pc file, as pkg-config would give them."""
    variables, fields = {}, {}
    for line in pc.read_text().splitlines():
        line = re.sub(r"\$\{(\w+)\}", lambda match: variables[match[1]], line)
        if match := re.match(r"(\w+)=(.*)", line):
            variables[match[1]] = match[2]
        elif match := re.match(r"(\w+): *(.*)", line):
            fields[match[1]] = match[2]
    return fields["Cflags"].split(), fields["Libs"].split()


with tempfile.TemporaryDirectory() as folder:
    folder = pathlib.Path(folder)
    prefix = folder / "prefix"
    subprocess.run(["cmake", "--install", os.environ["LUVIA_BUILD_DIR"], "--prefix", str(prefix)], check=True,
                   stdout=subprocess.DEVNULL)
    for path in ("bin/id3tag", "bin/luvia-inspect", "share/man/man1/id3tag.1", "share/man/man1/luvia-inspect.1",
                 "share/bash-completion/completions/id3tag"):
        assert (prefix / path).stat().st_size > 0, path
    pc = next(prefix.rglob("luvia.pc"))
    pc.write_text(re.sub(r"^prefix=.*", f"prefix={prefix}", pc.read_text(), flags=re.M))
    cflags, libs = flags(pc)
    source = folder / "player.c"
    source.write_text(PROGRAM)
    subprocess.run(["cc", "-std=c11", "-Wall", "-Wextra", "-Werror", *cflags, str(source), *libs, "-o", str(folder / "player")],
                   check=True)
    out = subprocess.run([str(folder / "player")], stdout=subprocess.PIPE, check=True, text=True,
                         env={**os.environ, "LUVIA_PREFERENCES_DIR": str(folder)}).stdout
    assert out == "sum 5/6\n", out
