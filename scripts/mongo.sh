#!/usr/bin/env bash
# A stand-in for MongoDB that speaks its protocol, for tests and for trying a cluster on one machine; nothing to
# keep records in:
#   scripts/mongo.sh fetch                what it is made of, once, into build/mongo
#   scripts/mongo.sh run DIR [OPTION]...  runs it in the foreground, with all that it writes in DIR. The first
#                                         start takes a free port and keeps it: DIR/port is for clients on this
#                                         machine. It is killed when the process that started it ends.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

environment=$repository/build/mongo

case ${1:-} in
fetch)
    if cmp -s scripts/mongo/requirements.txt "$environment/requirements.txt"; then
        exit
    fi
    install_packages cluster
    say "fetching the stand-in for MongoDB into $environment"
    # The distribution's Python: what is wanted was built for it.
    /usr/bin/python3 -m venv --clear "$environment" >&2
    "$environment/bin/pip" --disable-pip-version-check install -q --only-binary :all: --require-hashes \
        -r scripts/mongo/requirements.txt </dev/null >&2
    cp scripts/mongo/requirements.txt "$environment/requirements.txt"
    ;;
run)
    directory=$(realpath "${2:?"the directory is missing"}")
    shift 2
    [ -f "$environment/requirements.txt" ] || die "The stand-in is not here; run scripts/mongo.sh fetch"
    if [ ! -f "$directory/port" ]; then
        python3 scripts/free_ports.py 1 >"$directory/port.new"
        mv "$directory/port.new" "$directory/port"
    fi
    exec setpriv --pdeathsig KILL "$environment/bin/secantusd-py" --host 127.0.0.1 --port "$(cat "$directory/port")" \
        --storage-path "$directory/data" --cache-size 64M --sync-on-commit "$@" >&2
    ;;
*)
    die "scripts/mongo.sh fetch | run DIR [OPTION]..."
    ;;
esac
