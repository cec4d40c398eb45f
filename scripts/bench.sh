#!/usr/bin/env bash
# Measures the release build on this machine, beside servers that a user could take instead:
# scripts/bench.sh [OPTION OF bench/run.py]...
# With --cluster it measures many machines: the engines by themselves and schedulers on them.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# The measurements start servers of their own, on free ports. What their packages would set up to run for good is
# not wanted: no server starts with the installation or with the machine, and PostgreSQL makes no cluster. Servers
# that were installed before are left as they are.
no_starts=/usr/sbin/policy-rc.d
no_cluster=/etc/postgresql-common/createcluster.d/quillon-bench.conf
made=()

# make_file PATH MODE TEXT: unless there is one.
make_file() {
    if [ ! -e "$1" ]; then
        made+=("$1")
        as_root install -D -m "$2" /dev/stdin "$1" <<<"$3"
    fi
}

remove_made() {
    if [ ${#made[@]} -gt 0 ]; then
        as_root rm -f "${made[@]}"
        made=()
    fi
}

install_servers() {
    local server new=()
    if ! command -v apt-get >/dev/null; then
        install_packages run bench
        return
    fi
    for server in nginx beanstalkd redis-server; do
        PATH=$PATH:/usr/sbin command -v "$server" >/dev/null || new+=("$server")
    done
    compgen -G '/usr/lib/postgresql/*/bin/postgres' >/dev/null || new+=(postgresql)
    trap remove_made EXIT
    if [ ${#new[@]} -gt 0 ]; then
        make_file "$no_starts" 755 $'#!/bin/sh\nexit 101'
        make_file "$no_cluster" 644 'create_main_cluster = false'
    fi
    install_packages run bench
    remove_made
    trap - EXIT
    if [ ${#new[@]} -gt 0 ] && command -v systemctl >/dev/null; then
        as_root systemctl --quiet disable "${new[@]}" >&2 || say "could not disable: ${new[*]}"
    fi
}

programs=(quillon-scheduler quillon-bench-load)
for option in "$@"; do
    case $option in
    --micro)
        programs=(quillon-bench)
        ;;
    --cluster)
        install_packages cluster
        scripts/mongo.sh fetch
        scripts/kafka.sh fetch
        ;;
    esac
done

install_servers
configure release QUILLON_BUILD_BENCH=ON
build release "${programs[@]}"
exec python3 -B bench/run.py --build build/release "$@"
