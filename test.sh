#!/bin/bash
# Installs what is missing, then builds and runs every check: format; all tests under ASan + UBSan with a short run of
# each fuzz target, built once with clang; what races under TSan; all tests of the release with g++. Says where it is
# once in a while, and ends with the runner's own summary.
#
#   ./test.sh                all of it
#   ./test.sh release tsan   only the named steps (format fuzz tsan release; also debug, asan, clang)
#   FUZZ_SECONDS=60 ./test.sh fuzz
set -eu
cd "$(dirname -- "${BASH_SOURCE[0]}")"
. Scripts/setup.sh

jobs=$(nproc)
steps=("$@")
[ ${#steps[@]} -gt 0 ] || steps=(format fuzz tsan release)

say() { printf '\n== %s (%ss)\n' "$1" "$SECONDS"; }

# build PRESET [TARGET]: the end of the log where it fails.
build() {
    local log=build/$1/build.log
    mkdir -p "build/$1"
    cmake --preset "$1" -DLUVIA_REQUIRE_TESTS=ON >"$log" 2>&1 || { cat "$log"; return 1; }
    luvia_progress build "$log" cmake --build --preset "$1" -j "$jobs" --target "${2:-all}" || { tail -n 100 "$log"; return 1; }
}

# test_all PRESET: ctest's words where it fails, else its closing summary.
test_all() {
    local log=build/$1/ctest.log
    luvia_progress test "$log" ctest --preset "$1" -j "$jobs" --no-tests=error || { grep -v ' Passed \| Start ' "$log"; return 1; }
    sed -n '/tests passed,/,$p' "$log"
}

run_step() {
    case $1 in
        format) Scripts/check-format.sh ;;
        release | debug | asan | clang)
            build "$1" && test_all "$1" ;;
        tsan)
            build tsan thread_tests && test_all tsan ;;
        fuzz)
            build fuzz && test_all fuzz && Scripts/fuzz-briefly.sh build/fuzz "${FUZZ_SECONDS:-5}" ;;
        *) echo "test.sh: no step '$1'" >&2; return 2 ;;
    esac
}

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:allocator_may_return_null=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}

luvia_install build test
done=()
for step in "${steps[@]}"; do
    say "$step"
    run_step "$step" || { echo "test.sh: step '$step' failed (passed: ${done[*]:-none})" >&2; exit 1; }
    done+=("$step")
done
say "all steps passed: ${done[*]}"
