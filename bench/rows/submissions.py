"""Durable submissions. Afterwards everything that was answered must be stored and announced."""

import json
import random
import sys

from load import drive
from processes import memory_mb
from service import PATH, arguments, counts, reading, running, text_bytes

_OWN_JOBS = 500


def measure(build, directory, store, body, connections, seconds):
    """The service on its own, so that no local farm takes its share of the machine."""
    before = counts(store) if store.exists() else [0, 0]
    with running(arguments(build, directory, store), directory / "output") as service:
        loads = [drive(service.url + PATH, connections, length, body) for length in (1, seconds)]
        peak = memory_mb(service.process, "VmHWM")
    _check(store, before, loads, connections)
    return dict(loads[-1], peak_mb=peak)


def _check(store, before, loads, connections):
    """Each load ends in mid-flight: what a connection had sent last may be stored without its answer."""
    stored, announced = (now - then for now, then in zip(counts(store), before))
    answered = sum(load["requests"] for load in loads)
    if not answered <= stored <= answered + len(loads) * connections or stored != announced:
        sys.exit("%d answered, %d stored, %d announced" % (answered, stored, announced))


def bytes_of_job(store):
    """What a job takes of the file, its event included, and how long the texts of its record are."""
    with reading(store) as database:
        texts = [text_bytes(dict(row)) for row in
                 database.execute("SELECT * FROM records WHERE recordTopic = 'V2_WFJobs' LIMIT %d" % _OWN_JOBS)]
    return store.stat().st_size / counts(store)[0], sum(texts) / len(texts)


def bytes_of_own_jobs(build, directory):
    """The same of jobs whose bodies are of a client's own making: no document of ours has their keys and words."""
    store, dice = directory / "own.db", random.Random(1)
    words = ["".join(dice.choices("abcdefghijklmnopqrstuvwxyz", k=dice.randint(3, 9))) for _ in range(3000)]

    def own_value(depth):
        kind = dice.randrange(8)
        if kind == 0 and depth > 0:
            return own_tree(depth - 1, dice.randint(2, 6))
        if kind < 4:
            return " ".join(dice.choices(words, k=dice.randint(1, 5)))
        return dice.randrange(10 ** dice.randint(1, 9)) if kind < 7 else "%032x" % dice.getrandbits(128)

    def own_tree(depth, size):
        return {"".join(word.capitalize() for word in dice.choices(words, k=2)): own_value(depth) for _ in range(size)}

    with running(arguments(build, directory, store), directory / "output") as service:
        for _ in range(_OWN_JOBS):
            service.ask("POST", PATH, json.dumps(dict(own_tree(0, 8), jobParams=own_tree(2, 20))))
    return bytes_of_job(store)
