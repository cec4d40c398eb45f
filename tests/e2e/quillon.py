"""A service process of a test's own, raw HTTP to it, and its store as another process sees it."""

import contextlib
import http.client
import json
import mmap
import os
import pathlib
import re
import signal
import socket
import sqlite3
import subprocess
import tempfile
import time

from packed_text import unpack_rows

ROOT = pathlib.Path(__file__).resolve().parents[2]
BINARY = os.environ.get("QUILLON_SCHEDULER", str(ROOT / "build/release/bin/quillon-scheduler"))
IN_CLUSTER = os.environ.get("QUILLON_DEPLOY") == "cluster"  # or a program by itself
SERVICE_NAME = "orvik.quillon.processing.scheduler"
DEADLINE_SECONDS = 30  # for what takes milliseconds, on a machine that is busy with something else


def deploy(*options, settings=None):
    """A service of which a story holds however it is deployed."""
    if IN_CLUSTER:
        from cluster import Cluster
        return Cluster().start_alone(*options, settings=settings)
    return Service(*options, settings=settings)


def has_failpoints():
    with open(BINARY, "rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as program:
        return program.find(b"QUILLON_FAILPOINT\0") >= 0


class Service:
    """Starts the program on port 0; `directory` holds what it prints, its store and its home."""

    repeats_events = False  # an event may be announced more than once

    def __init__(self, *options, store=True, settings=None, environment=None, launcher=()):
        self._temporary = tempfile.TemporaryDirectory(prefix="quillon-e2e-")
        self.directory = pathlib.Path(self._temporary.name)
        self.store = self.directory / "store.db"
        self._defaults = self.default_options(store)
        if settings is not None:
            self.write_settings(settings)
            self._defaults.append("--config=settings.json")
        self._environment = {name: value for name, value in os.environ.items()
                             if name != "PUBLIC" and not name.startswith("zrf_")}
        self._environment.update(HOME=self._temporary.name, XDG_DATA_HOME=self._temporary.name)
        # What outlives `main` on purpose is no leak.
        self._environment.setdefault("ASAN_OPTIONS", "detect_leaks=0")
        self._environment.setdefault("TSAN_OPTIONS", "suppressions=%s" % (ROOT / "tests/e2e/tsan.supp"))
        self._environment.update(environment or {})
        self.launcher = launcher  # words of a command that becomes the program
        self.start(*options)

    def default_options(self, store):
        return ["--port=0"] + (["--mongo-uri=sqlite:%s" % self.store] if store else [])

    def write_settings(self, settings):
        (self.directory / "settings.json").write_text(json.dumps(settings))

    def start(self, *options):
        """Also once more, after the process has ended, on the same store."""
        given = {option.partition("=")[0] for option in options}
        arguments = [option for option in self._defaults if option.partition("=")[0] not in given]
        if "zrf_port" in self._environment:
            arguments.remove("--port=0")
        with open(self.directory / "out", "wb") as out, open(self.directory / "err", "wb") as err:
            self.process = subprocess.Popen([*self.launcher, BINARY, *arguments, *options],
                                            stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                                            env=self._environment, cwd=self.directory)

    @property
    def output(self):
        return (self.directory / "out").read_text()

    @property
    def errors(self):
        return (self.directory / "err").read_text()

    def is_listening(self):
        return re.search(r"Listening on https?://\S+:(\d+)", self.errors)

    @property
    def port(self):
        """Waits until the program says where it listens; from then on its store is there too."""
        wait_until(lambda: self.is_listening() or self.process.poll() is not None, "a listening line")
        listening = self.is_listening()
        assert listening, "ended with %s: %s%s" % (self.process.returncode, self.output, self.errors)
        return int(listening.group(1))

    def wait_for_start(self):
        assert self.port > 0

    def end(self, number=signal.SIGTERM):
        self.process.send_signal(number)
        return self.exit_code()

    def exit_code(self):
        return self.process.wait(DEADLINE_SECONDS)

    # In whatever state a story leaves it, a service ends in good order.
    def close(self):
        try:
            assert self.process.poll() is not None or self.end() == 0, "ended with %d" % self.process.returncode
        finally:
            self.process.kill()
            self.process.wait()
            self._temporary.cleanup()

    def connect(self, raw):
        """A connection on which these bytes were sent, or as many as the service wanted."""
        connection = socket.create_connection(("127.0.0.1", self.port), DEADLINE_SECONDS)
        with contextlib.suppress(BrokenPipeError, ConnectionResetError):
            connection.sendall(raw)
        return connection

    def post(self, path, body, method="POST"):
        """Gives status, headers and the body of the answer as text."""
        body = body if isinstance(body, bytes) else json.dumps(body).encode()
        head = "%s %s HTTP/1.1\r\nHost: localhost:%d\r\nContent-Type: application/json\r\n" % (method, path, self.port)
        head += "Content-Length: %d\r\n\r\n" % len(body)
        with self.connect(head.encode() + body) as connection:
            response = http.client.HTTPResponse(connection)
            response.begin()
            return response.status, response.headers, response.read().decode()

    def submit(self, path, request):
        status, _, body = self.post(path, request)
        assert status == 200, "%s: %d %s" % (path, status, body)
        return json.loads(body)["clientKey"]

    def query(self, sql, *values):
        """Rows of the store as another program reads them: from a process of its own, read only."""
        with contextlib.closing(sqlite3.connect("file:%s?mode=ro" % self.store, uri=True)) as database:
            unpack_rows(database)
            return database.execute(sql, values).fetchall()

    def records(self, collection):
        return self.query("SELECT * FROM records WHERE recordTopic = ? ORDER BY rowid", collection)

    def jobs(self):
        return self.records("V2_WFJobs")

    def job(self, key):
        return next(job for job in self.jobs() if job["recordID"] == key)

    def events(self):
        return self.query("SELECT * FROM events WHERE recordTopic = 'V2_WFJobEvents' ORDER BY eventOffset")

    def insert(self, records):
        """What another program of the farm stores meanwhile: (type, collection, data, public data)."""
        self.write(("INSERT INTO records (recordType, recordTopic, recordData, recordPublicData)"
                    " VALUES (?, ?, ?, ?)", records))

    def check_integrity(self):
        assert [row[0] for row in self.query("PRAGMA integrity_check")] == ["ok"]

    def write(self, *statements):
        """What another program of the farm does to the store meanwhile: (SQL, rows of values), in one transaction."""
        with contextlib.closing(sqlite3.connect(self.store, timeout=DEADLINE_SECONDS)) as database:
            database.execute("PRAGMA wal_autocheckpoint = 0")
            with database:
                database.execute("BEGIN IMMEDIATE")
                for sql, rows in statements:
                    database.executemany(sql, rows)


def wait_until(condition, what):
    deadline = time.monotonic() + DEADLINE_SECONDS
    while not condition():
        assert time.monotonic() < deadline, "no " + what
        time.sleep(0.01)
