#!/usr/bin/env bash
# Builds the service without its tests: scripts/build.sh [PRESET]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

preset=${1:-release}
install_packages run
if [ "$preset" = clang ]; then
    install_packages clang
fi
configure "$preset"
build "$preset" quillon-scheduler
