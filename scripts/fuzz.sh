#!/usr/bin/env bash
# Runs the fuzz targets for that long each, all of them by default, some beside one another: scripts/fuzz.sh [SECONDS=60] [TARGET...]
# What they learn stays in build/fuzz/corpus for the next run; an input that breaks something in build/fuzz/findings.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

seconds=60
if [[ ${1:-} =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
fi
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    mapfile -t targets < <(ls fuzz/corpus)
fi

install_packages run fuzz
configure fuzz
build fuzz "${targets[@]/#/quillon_fuzz_}"

# fuzz_one TARGET: tells the outcome.
fuzz_one() {
    local target=$1 learned=build/fuzz/corpus/$1 findings=build/fuzz/findings/$1 log=build/fuzz/$1.log
    mkdir -p "$learned" "$findings"
    if "build/fuzz/bin/quillon_fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
        -rss_limit_mb=1024 -artifact_prefix="$findings/" "$learned" "fuzz/corpus/$target" >"$log" 2>&1; then
        say "$target: $(tail -n 1 "$log")"
    else
        grep -vE '^#[0-9]' "$log" | tail -n 60 >&2
        die "$target: a finding, kept in $findings"
    fi
}

# As many at once as there are cores.
say "$seconds s for each of: ${targets[*]}"
export seconds
export -f fuzz_one say die
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -n 1 bash -c 'set -euo pipefail; fuzz_one "$1"' fuzz_one
