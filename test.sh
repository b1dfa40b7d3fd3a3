#!/bin/bash
# Installs what is missing, then builds and runs every check: format, release tests, ASan + UBSan, TSan, fuzz corpora,
# and a short run of each fuzz target. Ends with the runner's own summary.
#
#   ./test.sh                all of it
#   ./test.sh release asan   only the named steps (format release asan tsan fuzz)
#   FUZZ_SECONDS=60 ./test.sh fuzz
set -eu
cd "$(dirname -- "${BASH_SOURCE[0]}")"
. Scripts/setup.sh

jobs=$(nproc)
steps=("$@")
[ ${#steps[@]} -gt 0 ] || steps=(format fuzz tsan asan release)

say() { printf '\n== %s (%ss)\n' "$1" "$SECONDS"; }

build() {
    cmake --preset "$1" -DLUVIA_REQUIRE_TESTS=ON >"build-$1.log" 2>&1 || { cat "build-$1.log"; return 1; }
    rm -f "build-$1.log"
    cmake --build --preset "$1" -j "$jobs" -- --quiet
}

run_step() {
    case $1 in
        format) Scripts/check-format.sh ;;
        release | debug | asan | tsan)
            build "$1"
            ctest --preset "$1" -j "$jobs" --no-tests=error >"build/$1/ctest.log" 2>&1 || { cat "build/$1/ctest.log"; return 1; }
            tail -n 12 "build/$1/ctest.log" ;;
        fuzz)
            build fuzz
            Scripts/fuzz-briefly.sh build/fuzz "${FUZZ_SECONDS:-5}" ;;
        *) echo "test.sh: no step '$1'" >&2; return 2 ;;
    esac
}

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:allocator_may_return_null=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}

luvia_install build test
for step in "${steps[@]}"; do
    say "$step"
    run_step "$step" || { echo "test.sh: step '$step' failed" >&2; exit 1; }
done
say "all steps passed"
