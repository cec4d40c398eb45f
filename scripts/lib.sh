# shellcheck shell=bash
# Shared by the scripts beside it, which source it: where the repository is, and how its packages, build trees
# and targets come to be. Everything here does only what is still missing.
set -euo pipefail

repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$repository"

say() { printf '== %s\n' "$*" >&2; }
die() { printf '%s\n' "$*" >&2; exit 1; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "Neither root nor sudo: as root, run: $*"
    fi
}

# install_packages GROUP...: the packages of these groups in packages.txt, from the distribution.
install_packages() {
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        say "no apt here: going on with what is installed (scripts/packages.txt names Debian's packages)"
        return
    fi
    local wanted installed missing=()
    wanted=$(awk -v groups=" $* " '!/^#/ && NF == 2 && index(groups, " " $1 " ") { print $2 }' \
        scripts/packages.txt | sort -u)
    installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p' | sort -u)
    mapfile -t missing < <(comm -23 <(printf '%s\n' "$wanted") <(printf '%s\n' "$installed"))
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    say "installing: ${missing[*]}"
    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0)
    # A machine that was just started has no package lists, or old ones. Standard output is left to the service
    # and to the tests.
    as_root "${apt[@]}" update </dev/null >&2
    as_root "${apt[@]}" install -y --no-install-recommends "${missing[@]}" </dev/null >&2
}

# configure PRESET [OPTION=ON|OFF]...: makes the build tree of a preset, or adds options to it. A tree starts
# without tests and benchmarks, so that running the service needs neither their packages nor their time.
configure() {
    local preset=$1 option
    shift
    local tree=build/$preset definitions=()
    if [ ! -f "$tree/build.ninja" ]; then
        definitions+=(-DQUILLON_BUILD_TESTS=OFF -DQUILLON_BUILD_BENCH=OFF)
    fi
    for option in "$@"; do
        if [ ! -f "$tree/build.ninja" ] || ! grep -qx "${option%%=*}:BOOL=${option#*=}" "$tree/CMakeCache.txt"; then
            definitions+=("-D$option")
        fi
    done
    if [ ${#definitions[@]} -gt 0 ]; then
        say "configuring $tree"
        cmake --preset "$preset" "${definitions[@]}" >&2
    fi
}

# build PRESET [TARGET]...: Ninja decides what there is to do; without targets, everything.
build() {
    local preset=$1
    shift
    cmake --build "build/$preset" ${1:+--target "$@"} >&2
}

# source_files PATTERN...: the files of the house whose names match one of these.
source_files() {
    local pattern names=()
    for pattern in "$@"; do
        names+=(-o -name "$pattern")
    done
    find . \( -path ./build -o -path ./.git \) -prune -o -type f \( "${names[@]:1}" \) -print | sort
}
