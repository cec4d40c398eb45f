#!/usr/bin/env bash
# Measures the release build on this machine: scripts/bench.sh [OPTION OF bench/run.py]...
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

install_packages run bench
configure release QUILLON_BUILD_BENCH=ON
build release quillon-scheduler quillon-bench
exec python3 bench/run.py --build build/release "$@"
