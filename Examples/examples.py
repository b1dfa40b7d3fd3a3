"""Each example prints what the comment at its head says: the lines that stand there by four more blanks."""

import os
import pathlib
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
PROMISE = "//     "


def promised(name):
    """What Examples/<name>.c says that it prints."""
    lines = (HERE / f"{name}.c").read_text().split("\n\n")[0].splitlines()
    return "".join(line.removeprefix(PROMISE) + "\n" for line in lines if line.startswith(PROMISE))


def run(program, name):
    with tempfile.TemporaryDirectory() as preferences:
        out = subprocess.run([program], check=True, stdout=subprocess.PIPE, text=True,
                             env={**os.environ, "LUVIA_PREFERENCES_DIR": preferences}).stdout
    assert out == promised(name), f"{name} prints\n{out}and promises\n{promised(name)}"


if __name__ == "__main__":
    assert len(sys.argv) > 1
    for path in sys.argv[1:]:
        run(path, pathlib.Path(path).name.removeprefix("example_"))
