#!/usr/bin/env bash
# Measures what docs/scale.md reckons with: scripts/scale.sh [--jobs N] [--indexed N] [--seconds N]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

install_packages run bench cluster
scripts/kafka.sh fetch
scripts/mongo.sh fetch
configure release QUILLON_BUILD_BENCH=ON
build release quillon-scheduler ScaleLoad
exec env PYTHONPATH="$repository/scripts" build/mongo/bin/python3 -B bench/scale.py --build build/release "$@"
