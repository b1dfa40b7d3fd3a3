#!/bin/bash
# Installs what is missing, builds the release preset and runs id3tag with the given arguments, in the caller's folder.
# Silent but for the tool's own text when nothing is to be done. May be started several times at once; who may not write
# the build folder runs what stands there.
set -eu
. "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/Scripts/setup.sh"

build=$luvia_root/build/release
tool=$build/Tools/id3tag/id3tag

can_build() {
    mkdir -p "$build" 2>/dev/null || return 1
    local file
    for file in "$build" "$build/.ninja_log" "$luvia_root/build/.run.lock"; do
        [ ! -e "$file" ] || [ -w "$file" ] || return 1
    done
    touch "$luvia_root/build/.run.lock" 2>/dev/null
}

bring_up_to_date() {
    luvia_install build
    if [ ! -e "$build/build.ninja" ]; then
        echo "luvia: configuring and building (once)" >&2
        (cd "$luvia_root" && luvia_quietly cmake --preset release)
    fi
    luvia_quietly cmake --build "$build" --target id3tag
}

if can_build; then
    # A subshell holds the lock, so that the tool does not inherit it.
    (flock 9 && bring_up_to_date 9>&-) 9>"$luvia_root/build/.run.lock"
elif [ ! -x "$tool" ]; then
    echo "luvia: id3tag is not built yet, and $build cannot be written" >&2
    exit 1
fi
exec "$tool" "$@"
