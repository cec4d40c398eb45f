#!/usr/bin/env bash
# Kills the service under load, a thousand times, or stops it, and looks at what it has kept:
# scripts/torture.sh [KILLS] [--stops N] [--build build/PRESET]
#                    [--cluster SECONDS]    in place of these: one of three on the engines of many machines, so long
# A build tree of a preset is brought up to date first; the release is the default.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

tree=build/release
seconds=
arguments=()
while [ $# -gt 0 ]; do
    case $1 in
        --build) tree=${2:?"--build wants a build tree"}; shift ;;
        --build=*) tree=${1#*=} ;;
        --cluster) seconds=${2:?"--cluster wants a number of seconds"}; shift ;;
        --cluster=*) seconds=${1#*=} ;;
        *) arguments+=("$1") ;;
    esac
    shift
done

install_packages run test ${seconds:+cluster}
tree=$(realpath -m "$tree")
if [ "$(dirname "$tree")" = "$repository/build" ]; then
    configure "$(basename "$tree")"
    build "$(basename "$tree")" quillon-scheduler
fi
cd "$tree"  # where the store of a round that fails is left
export QUILLON_SCHEDULER=$tree/bin/quillon-scheduler PYTHONPATH=$repository/tests/e2e:$repository/scripts
if [ -n "$seconds" ]; then
    "$repository/scripts/mongo.sh" fetch
    "$repository/scripts/kafka.sh" fetch
    export QUILLON_KILL_SECONDS=$seconds
    exec python3 -B "$repository/tests/e2e/cluster_deaths_test.py" Deaths.test_of_one_of_three_over_and_over
fi
exec python3 -B "$repository/scripts/torture.py" "${arguments[@]}"
