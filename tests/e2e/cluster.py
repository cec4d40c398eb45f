"""A cluster of a test's own: engines, schedulers on them, and store and events as they lie there."""

import atexit
import collections
import contextlib
import functools
import glob
import hashlib
import http.client
import itertools
import json
import os
import shutil
import sys
import tempfile
import threading
import unittest

import engines
import torture
from engines import wait_until
from proxy import Proxy
from quillon import DEADLINE_SECONDS, Service

# The client of MongoDB for Python comes with the stand-in.
sys.path += glob.glob(str(engines.ROOT / "build/mongo/lib/python3*/site-packages"))

EVENTS = "V2_WFJobEvents"
_TEXTS = {"recordType": "type", "name": "name", "description": "description", "recordData": "data",
          "recordPublicData": "publicData", "tags": "tags"}
FARM = {"farm": {"enabled": True, "taskMilliseconds": 0}}
PACE = 0.05  # seconds from one submission of a client to its next: the stand-in for MongoDB takes no more for long
_numbers = itertools.count(1)


def require_engines():
    """Where one is not installed the test is skipped, and in CI it fails."""
    if missing := engines.find_missing():
        assert "CI" not in os.environ, missing
        print("SKIPPED: " + missing, flush=True)
        raise unittest.SkipTest(missing)


@functools.lru_cache(maxsize=None)
def shared_engines():
    """One of each for the whole process."""
    require_engines()
    directory = tempfile.mkdtemp(prefix="quillon-engines-")
    atexit.register(shutil.rmtree, directory, True)
    started = engines.Engines(directory + "/engines")
    atexit.register(started.kill)
    return started


class Cluster:
    """A database of its own on the shared engines, and the schedulers that are started on it, which `close` ends. Of the
    topic, which all share, it sees what came after its own begin."""

    repeats_events = True

    def __init__(self):
        import pymongo
        self.engines = shared_engines()
        self.database = "story%d" % next(_numbers)
        self.proxy = Proxy(self.engines.mongo.port)
        self.schedulers = []
        self.targets = []  # ports, for clients that move on from one to the next
        self._first_event = len(self.engines.kafka.messages(EVENTS))
        self._client = pymongo.MongoClient("127.0.0.1", self.engines.mongo.port, directConnection=True)

    def start(self, *options, settings=None, **more):
        """A further scheduler, which says on port 0 where it listens."""
        scheduler = Scheduler(self, *options, settings=settings or {}, **more)
        self.schedulers.append(scheduler)
        return scheduler

    def start_alone(self, *options, settings=None):
        """A scheduler that is all there is of the cluster, and ends it."""
        scheduler = self.start(*options, settings=settings)
        self.schedulers.clear()
        scheduler.owns_cluster = True
        return scheduler

    def close(self):
        with contextlib.ExitStack() as stack:
            stack.callback(self._client.close)
            stack.callback(self.proxy.close)
            for scheduler in self.schedulers:
                stack.callback(scheduler.close)

    @property
    def store(self):
        """The database, which is there from the first scheduler's start on."""
        name = next(name for name in self._client.list_database_names() if name.startswith(self.database + "_"))
        return self._client[name]

    def records(self, collection):
        """In their order, as the embedded store would name their columns."""
        return [{"recordID": document["_id"], "recordTopic": collection,
                 **{ours: _text_of(document[theirs]) for ours, theirs in _TEXTS.items()}}
                for document in self.store.records.find({"collection": collection}).sort("place", 1)]

    def jobs(self):
        return self.records("V2_WFJobs")

    def states(self):
        """How many jobs are in which state."""
        jobs = self.store.records.find({"collection": "V2_WFJobs"}, {"publicData": 1})
        return collections.Counter(_state_of(job) for job in jobs)

    def number_done(self):
        return self.states()["Completed"]

    def events(self):
        return [json.loads(value) for value in self.engines.kafka.messages(EVENTS)[self._first_event:]]

    def check_integrity(self):
        """Its engines' own affair."""

    def number_pending(self):
        """Of documents whose events have not been announced yet, or have not been seen to be."""
        return self.store.records.count_documents({"since": {"$exists": True}})

    def wait_until_announced(self):
        wait_until(lambda: self.number_pending() == 0, "end of what is pending", pause=0.1)

    def insert(self, records):
        """What another program stores: (type, collection, data, public data)."""
        self.store.records.insert_many([
            {"_id": "%s-%d" % (self.database, next(_numbers)), "collection": collection, "type": kind, "version": 1,
             "name": "", "description": "", "data": data, "publicData": public, "tags": "", "readOnly": False,
             "systemCreated": False, "place": next(_numbers) - 2**40,  # before what the schedulers write
             "refs": [_reference(key, value) for key, value in json.loads(public).items() if isinstance(value, str)]}
            for kind, collection, data, public in records])


def _reference(key, value):
    return hashlib.sha256(("%d:%s%s" % (len(key.encode()), key, value)).encode()).digest()[:16]


def _state_of(document):
    return json.loads(_text_of(document["publicData"])).get("jobState") or "Created"


def _text_of(value):
    return value if isinstance(value, str) else bytes(value).decode()


def check_jobs(cluster, journal, history):
    """Every acknowledged job is there once, announced at least once, carried out once; no event without its record. One
    of the cluster's schedulers has a farm, and `history` is of all that was written."""
    while (states := cluster.states()).keys() - {"Completed"}:
        wait_until(lambda: cluster.states() != states, "further change of %s" % states, pause=0.3)
    cluster.wait_until_announced()
    journal.check(cluster)
    states = history.stop()
    for job in cluster.jobs():
        seen = states[job["recordID"]]
        assert seen[-1] == "Completed" and sum(state in StateHistory.ENDS for state in seen) == 1, seen
        assert seen == sorted(seen, key=StateHistory.ORDER.index), seen
    queries = {job["recordID"] for job in cluster.jobs() if "query" in json.loads(job["recordPublicData"])["jobKind"]}
    results = collections.Counter(json.loads(row["recordPublicData"])["queryID"]
                                  for row in cluster.records("V2_WFVideoFormats"))
    assert results.keys() == queries and len(set(results.values())) <= 1, results


class Scheduler(Service):
    """A scheduler of a cluster. What the others wrote is in its store too."""

    owns_cluster = False

    def __init__(self, cluster, *options, settings, **more):
        self.cluster = cluster
        super().__init__(*options, settings=settings, **more)

    def write_settings(self, settings):
        rest = dict(settings.get("rest", {}), host="127.0.0.1", port=0)
        super().write_settings(dict(settings, rest=rest))

    def default_options(self, store):
        all_engines = self.cluster.engines
        return engines.scheduler_options(all_engines.nats.port, all_engines.kafka.port, self.cluster.proxy.port,
                                         self.cluster.database)

    def close(self):
        try:
            super().close()
        finally:
            if self.owns_cluster:
                self.cluster.close()

    def jobs(self):
        return self.cluster.jobs()

    def records(self, collection):
        return self.cluster.records(collection)

    def insert(self, records):
        self.cluster.insert(records)


class StateHistory:
    """Follows the states of a cluster's jobs as they are written, from its making to `stop`."""

    ORDER = ("Created", "Readied", "Evaluated", "Tasked", "Completed", "Failed", "Canceled")
    ENDS = ("Completed", "Failed", "Canceled")

    def __init__(self, cluster):
        self.states, self._done = {}, threading.Event()
        self._stream = cluster.store.records.watch(
            [{"$match": {"operationType": {"$in": ["insert", "update", "replace"]}}}], full_document="updateLookup",
            max_await_time_ms=100)
        self._thread = threading.Thread(target=self._follow)
        self._thread.start()

    def _follow(self):
        quiet = False
        while not (quiet and self._done.is_set()):
            change = self._stream.try_next()
            quiet = change is None
            document = change and change.get("updateDescription", {}).get("updatedFields") or change and change[
                "fullDocument"]
            if document and "publicData" in document:
                state = _state_of(document)
                states = self.states.setdefault(change["documentKey"]["_id"], [])
                if states[-1:] != [state]:
                    states.append(state)

    def stop(self):
        self._done.set()
        self._thread.join()
        self._stream.close()
        return self.states


class Clients:
    """Submit to the cluster's targets one after the other, each client to one until it fails there, until `stop`. What
    got an error of the service's may be there or not, as what got no answer."""

    def __init__(self, cluster, journal, name, connections=4, pace=0.0):
        self._cluster, self._journal, self._name, self._pace = cluster, journal, name, pace
        self._done, self._surprises = threading.Event(), []
        self._threads = [threading.Thread(target=self._submit, args=(n,), daemon=True) for n in range(connections)]
        for thread in self._threads:
            thread.start()

    def _submit(self, client):
        for count in itertools.count():
            port = self._cluster.targets[(client + count) % len(self._cluster.targets)]
            connection = http.client.HTTPConnection("127.0.0.1", port, timeout=DEADLINE_SECONDS)
            with contextlib.closing(connection):
                marker = "%s-%d-%d" % (self._name, client, count)
                for number in itertools.count():
                    if self._done.wait(self._pace):
                        return
                    if not self._ask(connection, "%s-%d" % (marker, number), number):
                        break

    def _ask(self, connection, marker, number):
        request = torture.request_of(marker)
        path = "/submitVideoFormatsQuery" if number % 4 == 3 else "/submitTranscode"
        try:
            connection.request("POST", path, json.dumps(request), torture.JSON)
            response = connection.getresponse()
            body = json.loads(response.read())
        except (OSError, http.client.HTTPException):
            self._journal.lost.add(marker)
            return False
        if response.status != 200:
            if response.status not in (500, 503):
                self._surprises.append((response.status, body))
            self._journal.lost.add(marker)
            return False
        self._journal.answered[marker] = body["clientKey"]
        return True

    def wait_for_more(self, answers):
        enough = len(self._journal.answered) + answers
        wait_until(lambda: len(self._journal.answered) >= enough, "answers")

    def stop(self):
        self._done.set()
        for thread in self._threads:
            thread.join()
        assert not self._surprises, self._surprises


class Story(unittest.TestCase):
    """Of what becomes of jobs in a cluster."""

    def setUp(self):
        self.cluster, self.journal = Cluster(), torture.Journal()
        self.addCleanup(self.cluster.close)

    def start(self, count, settings=FARM, farms=1):
        """That many schedulers, the first of them with these settings, and whatever they write is followed."""
        started = [self.cluster.start(settings=settings if n < farms else None) for n in range(count)]
        for scheduler in started:
            scheduler.wait_for_start()
        self.cluster.targets = [scheduler.port for scheduler in started]
        self.history = StateHistory(self.cluster)
        self.addCleanup(self.history.stop)
        return started

    def submit(self, name, answers, **more):
        clients = Clients(self.cluster, self.journal, name, **more)
        clients.wait_for_more(answers)
        clients.stop()

    def check(self):
        check_jobs(self.cluster, self.journal, self.history)

    def submit_in_vain(self, scheduler, marker):
        """The store's error came before the caller's patience was over; whether the job is there nobody knows."""
        self.journal.lost.add(marker)
        status, _, answer = self.ask(scheduler, "/submitMixdown", torture.request_of(marker), "POST")
        self.assertEqual(status, 500, answer)
        self.assertIn("Object Store failed", answer["error"]["message"])

    def ask(self, scheduler, path, body=b"", method="GET"):
        status, headers, text = scheduler.post(path, body, method=method)
        return status, headers, json.loads(text)
