"""Many machines, as far as one can stand for them: the engines by themselves, and what schedulers make of them."""

import concurrent.futures
import contextlib
import glob
import json
import re
import signal
import subprocess
import sys
import time

from engines import ROOT, scheduler_options
from load import checked, drive
from processes import cpu_seconds, spawn, wait_until
from service import PATH, running

ALONE = (("nats", 1), ("nats", 64), ("kafka", 1), ("kafka", 64), ("mongo", 1), ("mongo", 16))
SCHEDULERS = (1, 2, 3)
CONNECTIONS = 64
_QUIET_SECONDS = 20


def alone(build, engines, kind, callers, body, seconds):
    """One engine, asked by its own client library."""
    port = getattr(engines, kind).port
    command = [build / "bench/bin/EngineLoad", kind, "127.0.0.1:%d" % port, callers, seconds, body]
    words = subprocess.run(list(map(str, command)), check=True, stdout=subprocess.PIPE, text=True).stdout
    return checked(words, "%s from %d" % (kind, callers))


def _command(build, directory, engines, mongo_port, database):
    settings = directory / "settings.json"
    settings.write_text(json.dumps({"rest": {"host": "localhost", "port": 0}, "farm": {"enabled": False}}))
    return [build / "bin/quillon-scheduler",
            *scheduler_options(engines.nats.port, engines.kafka.port, mongo_port, database),
            "--metadatarootpath=%s" % (directory / "metadata"), "--config=%s" % settings]


def submissions(build, directory, engines, database, body, schedulers, seconds):
    """The connections are shared out. Afterwards what was answered must be stored and announced."""
    command = _command(build, directory, engines, engines.mongo.port, database)
    with contextlib.ExitStack() as stack, concurrent.futures.ThreadPoolExecutor(schedulers) as pool:
        services = [stack.enter_context(running(command, directory / ("output-%d" % number)))
                    for number in range(schedulers)]
        loads = [list(pool.map(lambda service: drive(service.url + PATH, CONNECTIONS // schedulers, length, body),
                               services)) for length in (1, seconds)]
        _check(engines, database, sum(part["requests"] for parts in loads for part in parts))
    return {"rate": sum(part["rate"] for part in loads[-1]), "p99": max(part["p99"] for part in loads[-1])}


def _check(engines, database, answered):
    """Each load ends in mid-flight: what a connection had sent last may be stored without its answer."""
    sys.path += glob.glob(str(ROOT / "build/mongo/lib/python3*/site-packages"))
    import pymongo  # comes with the stand-in
    with pymongo.MongoClient("127.0.0.1", engines.mongo.port, directConnection=True) as client:
        name = next(name for name in client.list_database_names() if name.startswith(database + "_"))
        records = client[name].records
        for _ in range(_QUIET_SECONDS):
            if (pending := records.count_documents({"since": {"$exists": True}})) == 0:
                break
            time.sleep(1)
        stored = records.count_documents({"collection": "V2_WFJobs"})
        client.drop_database(name)
    if pending or not answered <= stored <= answered + 2 * CONNECTIONS:
        sys.exit("%d answered, %d stored, %d not announced" % (answered, stored, pending))


def answering(build, directory, engines, body, connections, seconds):
    """A scheduler whose database costs nothing: FakeMongo in its place, beside the real bus and event log. The time of the
    announcements counts too, but for those that found no room while the event log was slow: what would announce
    them later from the database finds nothing there."""
    output = directory / "fake"
    with spawn([build / "bench/bin/FakeMongo"], output) as fake:
        listening = wait_until(fake, output, lambda: re.search(r"Listening on \S+:(\d+)\n", output.read_text()))
        command = _command(build, directory, engines, int(listening.group(1)), "bench")
        with running(command, directory / "output") as service:
            drive(service.url + PATH, connections, 2, body)
            before, started = _counts(fake, output), cpu_seconds(service.process)
            load = drive(service.url + PATH, connections, seconds, body)
            after = _counts(fake, output)
            cpu = cpu_seconds(service.process) - started
    upserts, announced = (now - then for now, then in zip(after, before))
    if upserts < load["requests"]:
        sys.exit("%d answered, %d written" % (load["requests"], upserts))
    return dict(load, cpu_us=cpu * 1e6 / load["requests"], announced=100 * announced / upserts)


def _counts(fake, output):
    """What came to FakeMongo, once no more comes: upserts of jobs, and updates, which take out their events."""
    def ask():
        lines = output.read_text().count("\n")
        fake.send_signal(signal.SIGUSR1)
        wait_until(fake, output, lambda: output.read_text().count("\n") > lines)
        return tuple(map(int, re.findall(r"upserts (\d+) updates (\d+)", output.read_text())[-1]))

    seen = ask()
    for _ in range(_QUIET_SECONDS):
        time.sleep(0.5)
        if (now := ask()) == seen:
            break
        seen = now
    return seen
