#!/usr/bin/env bash
# clang-tidy, on every core: the files that differ from the last commit and those that include them, or,
# with --all, everything.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

install_packages run test bench lint
configure release QUILLON_BUILD_TESTS=ON QUILLON_BUILD_BENCH=ON

changed_files() {
    { git diff --name-only HEAD; git ls-files --others --exclude-standard; } | sort -u
}

# A header has no command line of its own: it is checked through the sources that include it.
affected_sources() {
    local file
    while read -r file; do
        case $file in
            *.cpp) printf '%s\n' "$file" ;;
            *.h) source_files '*.cpp' | xargs grep -lF "#include \"$file\"" || true ;;
        esac
    done | sort -u
}

# Those that this build compiles: places to die, for one, are in other builds alone.
compiled() {
    local file
    while read -r file; do
        if grep -qF "\"file\": \"$repository/${file#./}\"" build/release/compile_commands.json; then
            printf '%s\n' "$file"
        fi
    done
}

case ${1:-} in
    "") files=$(changed_files | affected_sources | compiled) ;;
    --all) files=$(source_files '*.cpp' | compiled) ;;
    *) die "usage: scripts/lint.sh [--all]" ;;
esac
if [ -z "$files" ]; then
    say "nothing to check"
    exit 0
fi
# The command lines are GCC's, and name warnings that Clang does not know. How many warnings it suppressed is
# of no interest to anybody.
printf '%s\n' "$files" | xargs -P "$(nproc)" -n 1 \
    clang-tidy -p build/release --quiet --extra-arg=-Wno-unknown-warning-option 2> >(grep -v 'generated\.$' >&2)
