"""A store that holds many jobs, each as the service and its farm left it.

Two jobs are submitted, by two callers, and carried out. Their rows are then written over and over, with keys and
dates of their own, as a program beside the service would write them, only that nobody is looking yet: the rules for
a store in use do not hold, and nothing is synced before the end. The farm's place in the log is moved to its end.
Its index of jobs is left to the service.
"""

import contextlib
import datetime
import json
import os
import random
import sqlite3
import sys
import time

from packed_text import PackedTexts
from service import CALLERS, PATH, arguments, running

_SPACING_MS = 2000  # between a job and the next: a million jobs are three weeks
_DEADLINE_SECONDS = 60


def _finished_jobs(build, directory, store, body):
    """Leaves one job of each caller in the store, completed."""
    with running(arguments(build, directory, store, farm=True), directory / "output") as service:
        for token in CALLERS:
            service.ask("POST", PATH, body.read_bytes(), token)
        deadline = time.monotonic() + _DEADLINE_SECONDS
        while time.monotonic() < deadline:
            answers = [service.ask("POST", "/findJobsEx", "{}", token)[0] for token in CALLERS]
            if all(job["status"] == "Completed" for answer in answers for job in answer["results"]):
                return
            time.sleep(0.1)
    sys.exit("the farm did not complete two jobs")


def _rows(database, table, topic):
    cursor = database.execute("SELECT * FROM %s WHERE recordTopic = ? ORDER BY rowid" % table, [topic])
    names = [column[0] for column in cursor.description]
    return [dict(zip(names, values)) for values in cursor]


class _Template:
    """A row to be written again for other jobs."""

    def __init__(self, row, key, dates, texts):
        row.pop("eventOffset", None)
        self.names = list(row)
        self._packed = [n for n, value in enumerate(row.values()) if isinstance(value, bytes)]
        self._texts = texts
        self._values = [texts.text(value) for value in row.values()]
        self._key, self._dates = key, dates
        self._own = list(row).index("recordID")
        self._modified = list(row).index("recordModificationTime")
        self._keyed = [n for n, value in enumerate(self._values) if isinstance(value, str) and key in value]
        self._dated = [n for n, value in enumerate(self._values)
                       if isinstance(value, str) and any(date in value for date in dates)]

    def row(self, key, own_id, date, modified):
        values = self._values.copy()
        for n in self._keyed:
            values[n] = values[n].replace(self._key, key)
        for n in self._dated:
            for old in self._dates:
                values[n] = values[n].replace(old, date)
        for n in self._packed:
            values[n] = self._texts.packed(values[n])
        values[self._own] = own_id
        values[self._modified] = modified
        return values

    def insert(self, table):
        return "INSERT INTO %s (%s) VALUES (%s)" % (table, ", ".join(self.names), ", ".join("?" * len(self.names)))


def _uuid(bits, milliseconds=None):
    """A random one, or one that begins with a time, as client keys do."""
    digits = "%032x" % bits
    if milliseconds is not None:
        digits = "%012x7" % milliseconds + digits[13:16] + "8" + digits[17:]
    return "%s-%s-%s-%s-%s" % (digits[:8], digits[8:12], digits[12:16], digits[16:20], digits[20:])


def _templates(database):
    """For each job, those of its record and of its event."""
    texts = PackedTexts(database)
    events = {json.loads(event["recordData"])["id"]: event for event in _rows(database, "events", "V2_WFJobEvents")}
    for record in _rows(database, "records", "V2_WFJobs"):
        key, public = record["recordID"], json.loads(record["recordPublicData"])
        dates = [text for name, text in public.items() if name.endswith("DateTime")]
        yield _Template(record, key, dates, texts), _Template(events[key], key, dates, texts)


def _write(database, templates, count):
    """Records in blocks, each followed by its events; gives the key of the newest job of the first caller."""
    numbers, block, newest = random.Random(1), 10_000, None
    begin = int(time.time() * 1000) - count * _SPACING_MS
    for first in range(0, count, block):
        jobs = []
        for n in range(first, min(first + block, count)):
            when = begin + n * _SPACING_MS
            date = datetime.datetime.fromtimestamp(when / 1000, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%S.%f")
            jobs.append((templates[n % len(templates)], _uuid(numbers.getrandbits(128), when), date, when))
            newest = jobs[-1][1] if n % len(templates) == 0 else newest
        record, event = templates[0]
        database.executemany(record.insert("records"), (
            pair[0].row(key, key, date, when) for pair, key, date, when in jobs))
        database.executemany(event.insert("events"), (
            pair[1].row(key, _uuid(numbers.getrandbits(128)), date, when) for pair, key, date, when in jobs))
    return newest


def fill(build, directory, store, body, count):
    """Makes the store; gives the client key of the newest job of the first caller."""
    _finished_jobs(build, directory, store, body)
    with contextlib.closing(sqlite3.connect(store, isolation_level=None)) as database:
        database.execute("PRAGMA synchronous = OFF")
        database.execute("PRAGMA locking_mode = EXCLUSIVE")
        database.execute("PRAGMA journal_mode = OFF")
        database.execute("PRAGMA cache_size = -262144")
        templates = list(_templates(database))
        database.execute("BEGIN")
        newest = _write(database, templates, count - len(templates))
        database.execute("UPDATE records SET recordData = (SELECT json_object('offset', CAST(max(eventOffset) AS TEXT))"
                         " FROM events) WHERE recordID = 'farm.coordinator.position'")
        database.execute("COMMIT")
        database.execute("PRAGMA journal_mode = WAL")
    with open(store, "rb") as file:
        os.fsync(file.fileno())
    os.sync()
    return newest
