#!/usr/bin/env bash
# Makes a dictionary for the texts of the store, from what the service stores of the documented examples:
# scripts/train_dictionary.sh NUMBER
# A number that has been used names its bytes for good, so another dictionary wants another number.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

number=${1:?"which number is it to have?"}
file=platform/stores/sqlite/$number.zdict
if [ -e "$file" ]; then
    die "$file is there already"
fi
install_packages run test train
configure release
build release quillon-scheduler quillon-documented-requests
samples=$(mktemp -d)
trap 'rm -r "$samples"' EXIT
build/release/bin/quillon-documented-requests |
    PYTHONPATH=tests/e2e python3 -B scripts/dictionary_samples.py "$samples"
zstd -1 --train-fastcover=steps=40 --maxdict=16384 --dictID="$number" -o "$file" "$samples"/*
