#!/bin/bash
# fuzz-briefly.sh BUILD_DIR SECONDS: replays every corpus, then fuzzes each target for SECONDS, as many at once as cores.
# New inputs are kept under BUILD_DIR/corpus, and a finding under BUILD_DIR/findings.
set -eu
build=$1
seconds=$2
root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

fuzz_one() {
    local build=$1 seconds=$2 root=$3 name=$4
    local work=$build/corpus/$name findings=$build/findings/$name
    mkdir -p "$work" "$findings"
    if "$build/Fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=3000 -print_final_stats=1 \
        -artifact_prefix="$findings/" "$work" "$root/Fuzz/corpus/$name" >"$build/fuzz-$name.log" 2>&1; then
        printf '%-28s %s runs\n' "$name" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$build/fuzz-$name.log")"
    else
        tail -n 60 "$build/fuzz-$name.log"
        echo "fuzz: $name failed; input under $findings"
        return 1
    fi
}
export -f fuzz_one

find "$root/Fuzz" -maxdepth 1 -name '*.cpp' -printf '%f\n' | sed 's/\.cpp$//' | sort |
    xargs -P "$(nproc)" -I{} bash -c 'fuzz_one "$@"' _ "$build" "$seconds" "$root" {}
