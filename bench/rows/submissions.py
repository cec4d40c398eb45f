"""Durable submissions. Afterwards everything that was answered must be stored and announced."""

import sys

from load import drive
from processes import memory_mb
from service import PATH, arguments, counts, reading, running, text_bytes


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
        record = dict(database.execute("SELECT * FROM records WHERE recordTopic = 'V2_WFJobs' LIMIT 1").fetchone())
    return store.stat().st_size / counts(store)[0], text_bytes(record)
