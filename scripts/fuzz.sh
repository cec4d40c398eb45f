#!/usr/bin/env bash
# Runs the fuzz targets for that long each, all of them by default: scripts/fuzz.sh [SECONDS=60] [TARGET...]
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

failed=()
for target in "${targets[@]}"; do
    say "$target, $seconds s"
    learned=build/fuzz/corpus/$target
    findings=build/fuzz/findings/$target
    mkdir -p "$learned" "$findings"
    log=build/fuzz/$target.log
    if "build/fuzz/bin/quillon_fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
        -rss_limit_mb=1024 -artifact_prefix="$findings/" "$learned" "fuzz/corpus/$target" >"$log" 2>&1; then
        tail -n 1 "$log"
    else
        grep -vE '^#[0-9]' "$log" | tail -n 60 >&2
        failed+=("$target")
    fi
done
if [ ${#failed[@]} -gt 0 ]; then
    die "Findings, kept in build/fuzz/findings: ${failed[*]}"
fi
