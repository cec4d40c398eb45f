#!/usr/bin/env bash
# Installs what is missing, builds everything and runs all tests: scripts/test.sh [PRESET] [CTEST OPTION]...
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

preset=release
if [ $# -gt 0 ] && [[ $1 != -* ]]; then
    preset=$1
    shift
fi
install_packages run test cluster
if [ "$preset" = clang ]; then
    install_packages clang
fi
# The tests that need it say so and are skipped; where CI is set they fail.
scripts/mongo.sh fetch || say "the stand-in for MongoDB cannot be had"
scripts/kafka.sh fetch || say "the Kafka broker cannot be had"
configure "$preset" QUILLON_BUILD_TESTS=ON
build "$preset"
exec ctest --preset "$preset" --no-tests=error --parallel "$(nproc)" "$@"
