#!/usr/bin/env bash
# Installs, fetches and builds what is missing, and runs a small cluster on this machine until Ctrl-C: NATS, Kafka, a
# stand-in for MongoDB, two schedulers, and a farm in the first of them. Nothing of it is left behind.
#   scripts/cluster.sh [--schedulers N] [--port PORT]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

install_packages run cluster
scripts/mongo.sh fetch
scripts/kafka.sh fetch
configure release
build release quillon-scheduler
exec python3 -B scripts/cluster.py "$@"
