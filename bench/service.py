"""The service under measurement: its processes, its callers, and what it stores of one submission."""

import contextlib
import hashlib
import http.client
import json
import pathlib
import re
import sqlite3
import sys
import time

from packed_text import unpack_rows
from processes import spawn, wait_until

PATH = "/submitTranscode"
CALLERS = {"ada": "Ada", "ben": "Ben"}  # tokens, and whose they are


class Service:
    def __init__(self, process, port):
        self.process, self.port, self.url = process, port, "http://127.0.0.1:%d" % port

    def ask(self, method, path, body=None, token=None):
        """The answer as a tree, and the milliseconds it took on a new connection."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        headers = {"Content-Type": "application/json"} if body else {}
        if token:
            headers["Authorization"] = "Bearer " + token
        start = time.perf_counter()
        connection.request(method, path, body, headers)
        answer = connection.getresponse()
        text = answer.read()
        milliseconds = (time.perf_counter() - start) * 1000
        connection.close()
        if answer.status != 200:
            sys.exit("%s %s: %d %s" % (method, path, answer.status, text[:500]))
        return json.loads(text), milliseconds


def arguments(build, directory, store, farm=False, port=0):
    """The command of the service: on its own, or with the local farm and callers that are known."""
    settings = {"farm": {"enabled": farm, "taskMilliseconds": 1}}
    if farm:
        settings["callers"] = [{"tokenSha256": hashlib.sha256(token.encode()).hexdigest(), "identityId": "id-" + token,
                                "displayName": name} for token, name in CALLERS.items()]
    file = directory / ("settings-farm.json" if farm else "settings.json")
    file.write_text(json.dumps(settings))
    return [build / "bin/quillon-scheduler", "--port=%d" % port, "--mongo-uri=sqlite:%s" % store,
            "--metadatarootpath=%s" % (directory / "metadata"), "--config=%s" % file]


@contextlib.contextmanager
def running(command, output):
    """Ends in good order, or ends this program."""
    with spawn(command, output) as process:
        found = wait_until(process, output, lambda: re.search(
            r"Listening on http://\S+:(\d+)\n", pathlib.Path(output).read_text(errors="replace")))
        yield Service(process, int(found.group(1)))
        process.terminate()
        if process.wait(60) != 0:
            sys.exit("%s ended with %d" % (command[0], process.returncode))


@contextlib.contextmanager
def reading(store):
    with contextlib.closing(sqlite3.connect("file:%s?mode=ro" % store, uri=True)) as database:
        unpack_rows(database)
        yield database


def counts(store):
    """Jobs and announcements."""
    with reading(store) as database:
        return [database.execute("SELECT count(*) FROM " + table).fetchone()[0]
                for table in ("records WHERE recordTopic = 'V2_WFJobs'", "events")]


def submitted(build, directory, body):
    """The rows that one submission leaves: the record and its event."""
    store = directory / "sample.db"
    with running(arguments(build, directory, store), directory / "output") as service:
        service.ask("POST", PATH, body.read_bytes())
    with reading(store) as database:
        return [dict(database.execute("SELECT * FROM " + table).fetchone()) for table in ("records", "events")]


def text_bytes(row):
    return sum(len(value.encode()) for value in row.values() if isinstance(value, str))
