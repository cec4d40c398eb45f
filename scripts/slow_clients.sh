#!/usr/bin/env bash
# What honest clients notice of slow ones: their p99 without attackers and beside each mode of slowhttptest.
# scripts/slow_clients.sh [SECONDS=20] [CONNECTIONS=500] [--build BUILD TREE]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

tree=build/release
numbers=()
while [ $# -gt 0 ]; do
    case $1 in
        --build) tree=${2:?"--build wants a build tree"}; shift ;;
        *) numbers+=("$1") ;;
    esac
    shift
done
seconds=${numbers[0]:-20}
connections=${numbers[1]:-500}

install_packages run slow
if [ "$tree" = build/release ]; then
    configure release
    build release quillon-scheduler
fi

directory=$(mktemp -d)
attacker=
finish() {
    kill "$service" ${attacker:+"$attacker"} 2>/dev/null || true
    wait
    rm -rf "$directory"
}
"$tree/bin/quillon-scheduler" --port=0 "--mongo-uri=sqlite:$directory/store.db" >/dev/null 2>"$directory/log" &
service=$!
trap finish EXIT
for _ in $(seq 100); do
    port=$(sed -n 's/.*Listening on http:[^ ]*:\([0-9]*\)$/\1/p' "$directory/log")
    [ -z "$port" ] || break
    sleep 0.1
done
url=http://localhost:${port:?"the service did not start"}

# p99 of submissions in milliseconds.
honest_p99() {
    wrk --threads 1 --connections 16 --duration "${seconds}s" --script bench/load.lua "$url/submitTranscode" -- \
        examples/submitTranscode.json "" | sed -n 's/.*"p99": \([0-9.]*\), "refused": 0, "broken": 0}/\1/p'
}

honest_p99 >/dev/null  # warms up
quiet=$(honest_p99)
printf '%-14s p99 %8.3f ms\n' "no attackers" "${quiet:?"requests failed"}"
declare -A modes=(
    [slow-headers]="-H -u $url/submitTranscode"
    [slow-bodies]="-B -u $url/submitTranscode -f application/json"
    [slow-readers]="-X -u $url/formats/video -w 1 -y 2 -n 5 -z 8 -k 3"
    [ranges]="-R -u $url/formats/video"
)
for mode in slow-headers slow-bodies slow-readers ranges; do
    # shellcheck disable=SC2086
    slowhttptest ${modes[$mode]} -c "$connections" -r 200 -i 1 -l $((seconds + 10)) -p 3 >"$directory/$mode" 2>&1 &
    attacker=$!
    sleep 3
    p99=$(honest_p99)
    held=$(ss -Htn state established "sport = :$port" | wc -l)
    kill "$attacker" 2>/dev/null || true
    wait "$attacker" 2>/dev/null || true
    attacker=
    printf '%-14s p99 %8.3f ms, %.2f times; %d connections held at the end\n' "$mode" "${p99:?"requests failed"}" \
        "$(awk "BEGIN { print $p99 / $quiet }")" "$held"
done
