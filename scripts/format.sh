#!/usr/bin/env bash
# Formats all C++ files; with --check, changes none and fails where one would change.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

install_packages format
case ${1:-} in
    "") mode=(-i) ;;
    --check) mode=(--dry-run --Werror) ;;
    *) die "usage: scripts/format.sh [--check]" ;;
esac
source_files '*.h' '*.cpp' | xargs clang-format "${mode[@]}"
