"""PostgreSQL as the distribution sets it up, in a cluster of its own: each transaction stores one job as this
service would, its record and its event."""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

from processes import account, spawn, wait_until

_COLUMNS = """
    recordType text NOT NULL, recordVersion integer NOT NULL, name text, description text, recordTopic text NOT NULL,
    recordData text, recordModificationTime bigint, recordPublicData text, readOnly integer, systemCreated integer,
    tags text"""
_LAYOUT = """
CREATE TABLE records (recordID text PRIMARY KEY, %s);
CREATE TABLE events (eventOffset bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY, recordID text NOT NULL, %s);
CREATE SEQUENCE keys;
""" % (_COLUMNS, _COLUMNS)
# A client key that grows, as the service's do: the index is spared scattered writes.
_KEY = "lpad(to_hex(nextval('keys')), 12, '0') || substr(gen_random_uuid()::text, 13)"
_VALUES = ("(%s, :{0}Type, 1, :{0}Name, '', :{0}Topic, :{0}Data,"
           " (extract(epoch FROM clock_timestamp()) * 1000)::bigint, :{0}Public, 0, 0, '[]')")
_NAMES = ("(recordID, recordType, recordVersion, name, description, recordTopic, recordData, recordModificationTime,"
          " recordPublicData, readOnly, systemCreated, tags)")
_RECORD = "INSERT INTO records %s VALUES %s" % (_NAMES, _VALUES.format("job") % _KEY)
_EVENT = "INSERT INTO events %s VALUES %s" % (_NAMES, _VALUES.format("event") % "gen_random_uuid()::text")
# As a program would write it, and the way with the fewest messages to and fro.
_TRANSACTIONS = {"usual": "BEGIN;\n%s;\n%s;\nCOMMIT;\n" % (_RECORD, _EVENT),
                 "terse": "WITH job AS (%s)\n%s;\n" % (_RECORD, _EVENT)}


def _programs():
    found = sorted(pathlib.Path("/usr/lib/postgresql").glob("*/bin/postgres"),
                   key=lambda path: float(path.parts[-3]))
    if found:
        return found[-1].parent
    if on_path := shutil.which("postgres"):
        return pathlib.Path(on_path).resolve().parent
    sys.exit("PostgreSQL is not installed")


def _run(*command, **options):
    done = subprocess.run(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          stdin=subprocess.DEVNULL, **options)
    if done.returncode != 0:
        sys.exit("%s failed:\n%s" % (command[0], done.stdout))
    return done.stdout


def _times(directory):
    """Milliseconds of each transaction, sorted."""
    return sorted(int(line.split()[2]) / 1000 for file in directory.glob("times.*")
                  for line in file.read_text().splitlines())


def measure(directory, texts, connections, seconds):
    """Numbers of each way to write the transaction, whose variables are `texts`. `directory` must be reachable for
    the user postgres where this program runs as root, which PostgreSQL refuses to do."""
    programs, user, cluster = _programs(), account("postgres"), directory / "cluster"
    with tempfile.TemporaryDirectory(prefix="quillon-bench-") as sockets:  # the path of a socket must be short
        if user:
            for owned in (directory, sockets):
                os.chown(owned, user["user"], user["group"])
        environment = dict(os.environ, PGHOST=sockets, PGUSER="bench", PGDATABASE="postgres", PGPORT="5432", LC_ALL="C")
        _run(programs / "initdb", "-D", cluster, "-U", "bench", "-A", "trust", "-E", "UTF8", cwd=directory,
             env=environment, **user)
        output = directory / "output"
        # SIGINT ends it in good order, SIGQUIT at once; both with its children.
        with spawn([programs / "postgres", "-D", cluster, "-k", sockets, "-c", "listen_addresses="], output,
                   stop=signal.SIGINT, orphaned=signal.SIGQUIT, cwd=directory, env=environment, **user) as server:
            wait_until(server, output, lambda: "ready to accept connections" in output.read_text())
            _run(programs / "psql", "-q", "-v", "ON_ERROR_STOP=1", "-c", _LAYOUT, env=environment)
            return {name: _load(directory / name, transaction, programs, environment, texts, connections, seconds)
                    for name, transaction in _TRANSACTIONS.items()}


def _load(directory, transaction, programs, environment, texts, connections, seconds):
    directory.mkdir()
    script, variables = directory / "transaction.sql", []
    for name, text in texts.items():
        if text:
            variables += ["-D", "%s=%s" % (name, text)]
        else:  # pgbench knows no empty variables
            transaction = transaction.replace(":%s," % name, "'',")
    script.write_text(transaction)
    for length, more in ((1, []), (seconds, ["-l", "--log-prefix=times"])):
        words = _run(programs / "pgbench", "-n", "-M", "prepared", "-c", connections, "-j", 2, "-T", length, *more,
                     "-f", script, *variables, cwd=directory, env=environment)
        if not re.search(r"number of failed transactions: 0 ", words):
            sys.exit("pgbench: not every transaction succeeded:\n" + words)
    times = _times(directory)
    rate = float(re.search(r"tps = ([\d.]+)", words).group(1))
    return {"rate": rate, "p50": times[len(times) // 2], "p99": times[len(times) * 99 // 100], "requests": len(times)}
