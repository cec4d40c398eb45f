#!/usr/bin/env bash
# Installs what is missing, builds the service and runs it in the foreground; arguments are the service's own.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

install_packages run
configure release
build release quillon-scheduler
exec build/release/bin/quillon-scheduler "$@"
