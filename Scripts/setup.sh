# Shared by run.sh, test.sh and Benchmarks/report; sourced, not run.
# Everything is said on standard error, and only when there is something to do.

luvia_root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

# luvia_install LIST...: installs the packages of Scripts/packages-LIST.txt that are missing.
luvia_install() {
    local list package missing=()
    declare -A installed=()
    while read -r status package; do
        [ "$status" = installed ] && installed[$package]=1
    done < <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' 2>/dev/null)
    for list in "$@"; do
        while read -r package; do
            case $package in '' | '#'*) continue ;; esac
            [ "${installed[$package]:-}" ] || missing+=("$package")
        done <"$luvia_root/Scripts/packages-$list.txt"
    done
    [ ${#missing[@]} -eq 0 ] && return 0

    local sudo=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "luvia: please install as root: ${missing[*]}" >&2; return 1; }
        sudo=(sudo)
    fi
    echo "luvia: installing ${missing[*]}" >&2
    local log
    log=$(mktemp)
    if ! { "${sudo[@]}" apt-get update && "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
           apt-get install -y --no-install-recommends "${missing[@]}"; } </dev/null >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# luvia_quietly COMMAND...: silent unless the command fails; then all that it printed.
luvia_quietly() {
    local log
    log=$(mktemp)
    if ! "$@" </dev/null >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# luvia_progress KIND LOG COMMAND...: runs it with its output in LOG, and says every 20 seconds how far it has come.
# KIND is build (ninja counts its steps) or test (ctest says what has ended, and how).
luvia_progress() {
    local kind=$1 log=$2 line last=0 start=$SECONDS passed=0 failed=0
    shift 2
    "$@" 2>&1 </dev/null | while IFS= read -r line; do
        printf '%s\n' "$line"
        case $line in
            *' Passed '*) passed=$((passed + 1)) ;;
            *'***'*) failed=$((failed + 1)) ;;
        esac
        [ $((SECONDS - start)) -ge $((last + 20)) ] || continue
        last=$((SECONDS - start))
        case $kind in
            build) [[ $line =~ ^\[([0-9]+/[0-9]+)\] ]] && echo "   built ${BASH_REMATCH[1]} (${SECONDS}s)" >&3 ;;
            test) echo "   $passed tests passed, $failed failed so far (${SECONDS}s)" >&3 ;;
        esac
    done 3>&1 >"$log"
    return "${PIPESTATUS[0]}"
}
