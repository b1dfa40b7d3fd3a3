#!/bin/bash
# Every C and C++ file stands as .clang-format says, and no text file ends a line in blanks.
set -eu
cd "$(dirname -- "${BASH_SOURCE[0]}")/.."
if ! git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    echo 'check-format: not a git checkout, so that the files to look at are not known' >&2
    exit 1
fi
git ls-files '*.c' '*.h' '*.cpp' | xargs -r clang-format-14 --dry-run --Werror
if git grep -nI ' $' -- ':!*.txt' ':!Fuzz/corpus'; then
    echo 'check-format: blanks at the end of a line' >&2
    exit 1
fi
echo 'format: clean'
