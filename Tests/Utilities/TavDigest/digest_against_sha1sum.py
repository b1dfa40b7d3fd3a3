"""The digest of a long run of bytes in odd pieces equals what sha1sum says of the same bytes."""
import subprocess
import sys

LENGTH = int(sys.argv[2])
PATTERN = bytes(range(251)) * 4096

sha1sum = subprocess.Popen(["sha1sum"], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
left = LENGTH
while left:
    left -= sha1sum.stdin.write(PATTERN[:left])
sha1sum.stdin.close()
expected = sha1sum.stdout.read().split()[0].decode()
sha1sum.wait()

ours = subprocess.run([sys.argv[1], str(LENGTH), "1"], stdout=subprocess.PIPE, text=True, check=True).stdout.strip()
assert ours == expected, f"{ours} is not sha1sum's {expected}"
