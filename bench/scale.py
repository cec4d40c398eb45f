"""What grows with what, measured on this machine: the numbers of docs/scale.md. scripts/scale.sh runs it.

Run by the Python of build/mongo, which has the readers of BSON.
"""

import argparse
import contextlib
import http.client
import json
import pathlib
import subprocess
import sys
import tempfile
import time

import bson
import numpy
import pymongo
from bson.raw_bson import RawBSONDocument

from processes import memory_mb, spawn, wait_until
from service import PATH, arguments, reading, running

REPOSITORY = pathlib.Path(__file__).resolve().parent.parent
BLOCK, BLOCK_LIFE = 1000, 1.0  # of platform/stores/mongo/Places.cpp


def tell(title, **numbers):
    print("%-28s %s" % (title, "  ".join("%s %s" % (name, value) for name, value in numbers.items())), flush=True)


def load(build, *words):
    done = subprocess.run([build / "bench/bin/ScaleLoad", *map(str, words)], stdout=subprocess.PIPE, text=True)
    if done.returncode != 0:
        sys.exit("ScaleLoad %s ended with %d" % (words[0], done.returncode))
    return json.loads(done.stdout)


@contextlib.contextmanager
def engine(script, directory):
    """Its port, once it listens."""
    directory.mkdir()
    output = directory.parent / (directory.name + ".output")
    with spawn([REPOSITORY / "scripts" / script, "run", directory], output) as process:
        wait_until(process, output, (directory / "port").exists)
        yield int((directory / "port").read_text())


def submit(service, jobs):
    body = (REPOSITORY / "examples/submitTranscode.json").read_bytes()
    connection = http.client.HTTPConnection("127.0.0.1", service.port, timeout=60)
    for _ in range(jobs):
        connection.request("POST", PATH, body, {"Content-Type": "application/json"})
        if connection.getresponse().read()[:1] != b"{":
            sys.exit("a submission was refused")


def measure_events(build, directory, seconds):
    with engine("kafka.sh", directory / "kafka") as port:
        found = load(build, "events", "127.0.0.1:%d" % port, seconds)
        logs = (directory / "kafka/log").glob("V2_WFJobEvents-0/*.log")
        stored = sum(log.stat().st_size for log in logs) / found["events"]
    tell("events, one partition", **{"bytes a message": found["bytes"], "bytes on disk": round(stored),
                                     "one by one, /s": found["one"], "256 together, /s": found["lane"],
                                     "by two lanes, /s": found["lanes"], "read, /s": found["read"]})


def key_bytes(*values):
    """Of the values of an index entry as BSON has them; engines add an address, and save common beginnings."""
    return sum(len(bson.encode({"": value})) - 7 for value in values)  # less the document's frame and the key


def measure_documents(build, directory, store):
    with engine("mongo.sh", directory / "mongo") as port:
        uri = "mongodb://127.0.0.1:%d/?replicaSet=secantus" % port
        with contextlib.suppress(pymongo.errors.PyMongoError):
            pymongo.MongoClient(uri, serverSelectionTimeoutMS=20000).admin.command("ping")
        load(build, "documents", store, uri, "scale")
        records = pymongo.MongoClient(uri, document_class=RawBSONDocument).scale.records
        raw = [document.raw for document in records.find({"type": "Job"})]
    whole, plain, by_type, by_reference, references = [], [], [], [], []
    for text in raw:
        document = bson.decode(text)
        whole.append(len(text))
        by_type.append(key_bytes(document["collection"], document["type"], document["place"]))
        by_reference += [key_bytes(document["collection"], document["type"], hashed, document["place"])
                         for hashed in document["refs"]]
        references.append(len(document["refs"]))
        since = key_bytes(document["since"])
        del document["outbox"], document["since"]
        plain.append(len(bson.encode(document)))
    tell("a job as a document", **{"bytes": round(numpy.mean(plain)),
                                   "with its event pending": round(numpy.mean(whole)),
                                   "references": numpy.mean(references)})
    tell("its index entries, bytes", **{"_id": key_bytes(document["_id"]), "byType": round(numpy.mean(by_type)),
                                        "byReference, each": round(numpy.mean(by_reference)) if by_reference else 0,
                                        "bySince, while pending": since})


def simulate_places(processes, rate, seconds=20):
    """Records a process and second come at random; how the shared counter orders them."""
    random = numpy.random.default_rng(1)
    times, places, touches, counter = [], [], 0, 0
    waiting = sorted((time_, process) for process in range(processes)
                     for time_ in random.uniform(0, seconds, random.poisson(rate * seconds)))
    blocks = [(0, 0, -1.0)] * processes
    for time_, process in waiting:
        place, end, stale = blocks[process]
        if place >= end or time_ >= stale:
            touches, place, counter = touches + 1, counter, counter + BLOCK
            end, stale = counter, time_ + BLOCK_LIFE
        times.append(time_)
        places.append(place)
        blocks[process] = (place + 1, end, stale)
    by_place = numpy.array(times)[numpy.argsort(places)]
    late = numpy.maximum.accumulate(by_place) - by_place
    tell("places, %d x %g a second" % (processes, rate), **{
        "touches a second": "%.1f" % (touches / seconds), "a record": "%.4f" % (touches / len(times)),
        "behind a younger one": "%.0f %%" % (100 * numpy.mean(late > 0)), "by at most, s": "%.2f" % late.max(),
        "places used of those taken": "%.1f %%" % (100 * len(times) / counter)})


def measure_hand_out(build, directory, jobs):
    """The farm alone: its workers take no time for a task."""
    store = directory / "farm.db"
    with running(arguments(build, directory, store), directory / "output") as service:
        submit(service, jobs)
    command = arguments(build, directory, store, farm=True)
    settings = directory / "settings-farm.json"
    settings.write_text(json.dumps({"farm": {"enabled": True, "taskMilliseconds": 0}}))
    start = time.monotonic()
    with running(command, directory / "output") as service:
        while True:
            with reading(store) as database:
                ended = database.execute("SELECT count(*) FROM records WHERE recordTopic = 'V2_WFJobs' AND "
                                         "json_extract(recordPublicData, '$.jobState') = 'Completed'").fetchone()[0]
            if ended >= jobs:
                break
            time.sleep(0.2)
        tell("one coordinator", **{"jobs a second": round(jobs / (time.monotonic() - start)),
                                   "memory, MB": round(memory_mb(service.process, "VmHWM"))})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--jobs", type=int, default=5000, help="for documents and the coordinator")
    parser.add_argument("--indexed", type=int, default=1000000, help="for the index of jobs")
    parser.add_argument("--seconds", type=int, default=10, help="for each rate of events")
    options = parser.parse_args()
    build = options.build.resolve()
    with tempfile.TemporaryDirectory(prefix="quillon-scale-") as name:
        directory = pathlib.Path(name)
        measure_events(build, directory, options.seconds)
        store = directory / "jobs.db"
        with running(arguments(build, directory, store), directory / "output") as service:
            submit(service, min(options.jobs, 1000))
        measure_documents(build, directory, store)
        for processes, rate in ((1, 100), (3, 100), (10, 100), (100, 1), (100, 100), (3, 2000), (100, 2000)):
            simulate_places(processes, rate)
        found = load(build, "index", directory, options.indexed)
        tell("index of jobs", **{"jobs": options.indexed, "bytes a job": found["bytes"],
                                 "made in, s": found["seconds"]})
        measure_hand_out(build, directory, options.jobs)


main()
