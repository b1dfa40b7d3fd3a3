#!/bin/bash
# Installs what is missing, builds the release preset and runs id3tag with the given arguments, in the caller's folder.
# Silent but for the tool's own text when nothing is to be done.
set -eu
. "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/Scripts/setup.sh"

tool=$luvia_root/build/release/Tools/id3tag/id3tag
luvia_install build
if [ ! -e "$luvia_root/build/release/build.ninja" ]; then
    echo "luvia: configuring and building (once)" >&2
    (cd "$luvia_root" && luvia_quietly cmake --preset release)
fi
luvia_quietly cmake --build "$luvia_root/build/release" --target id3tag
exec "$tool" "$@"
