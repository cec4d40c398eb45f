#!/usr/bin/env bash
# Kills the service under load, a thousand times, or stops it, and looks at what it has kept:
# scripts/torture.sh [KILLS] [--stops N] [--build build/PRESET]
# A build tree of a preset is brought up to date first; the release is the default.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

tree=build/release
arguments=()
while [ $# -gt 0 ]; do
    case $1 in
        --build) tree=${2:?"--build wants a build tree"}; shift ;;
        --build=*) tree=${1#*=} ;;
        *) arguments+=("$1") ;;
    esac
    shift
done

install_packages run test
tree=$(realpath -m "$tree")
if [ "$(dirname "$tree")" = "$repository/build" ]; then
    configure "$(basename "$tree")"
    build "$(basename "$tree")" quillon-scheduler
fi
cd "$tree"  # where the store of a round that fails is left
export QUILLON_SCHEDULER=$tree/bin/quillon-scheduler PYTHONPATH=$repository/tests/e2e
exec python3 -B "$repository/scripts/torture.py" "${arguments[@]}"
