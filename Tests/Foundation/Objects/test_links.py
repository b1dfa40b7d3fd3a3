"""A program that keeps bytes in a dictionary carries no strings, no formats and no services."""

import subprocess
import sys

program = sys.argv[1]
subprocess.run([program], check=True)
symbols = subprocess.run(["nm", program], check=True, capture_output=True, text=True).stdout
unwanted = [line for line in symbols.splitlines()
            if any(name in line for name in ("ZoString", "ZoCopyDescription", "ZoLog", "ZoUUID", "icu_"))
            and line.split()[-2] not in ("w", "v")
            and not line.split()[-1].startswith(("_ZTI", "_ZTS"))]  # a sanitizer's notes on types of functions
if unwanted:
    sys.exit("linked without need:\n" + "\n".join(unwanted))
needed = subprocess.run(["readelf", "-d", program], check=True, capture_output=True, text=True).stdout
for library in ("libicu", "libexpat", "libuuid"):
    if library in needed:
        sys.exit(f"{library} is loaded")
