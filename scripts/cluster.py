"""A small cluster on this machine, until it is interrupted: the engines, schedulers and a farm. scripts/cluster.sh has
built what it needs."""

import argparse
import contextlib
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

from engines import ROOT, Engines, scheduler_options, wait_until

BINARY = os.environ.get("QUILLON_SCHEDULER", str(ROOT / "build/release/bin/quillon-scheduler"))
STOP_SECONDS = 20  # twice what a stop may take


class Interrupted(Exception):
    pass


class Member:
    """A scheduler; its standard error goes to a file, which says where it listens."""

    def __init__(self, directory, options, settings):
        directory.mkdir()
        self._errors = directory / "errors"
        (directory / "settings.json").write_text(json.dumps(settings))
        command = [BINARY, *options, "--config=settings.json",
                   "--metadatarootpath=%s/MetadataRootPath" % directory]
        with open(directory / "output", "wb") as output, open(self._errors, "wb") as errors:
            self.process = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", *command], cwd=directory,
                                            stdin=subprocess.DEVNULL, stdout=output, stderr=errors,
                                            start_new_session=True)

    def wait_for_port(self):
        def listening():
            assert self.process.poll() is None, "A scheduler has not started: " + self._errors.read_text()
            return re.search(r"Listening on \S+:(\d+)", self._errors.read_text())

        wait_until(listening, "listening scheduler")
        return int(listening().group(1))

    def stop(self):
        self.process.terminate()
        try:
            return self.process.wait(STOP_SECONDS)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            return None


def run(arguments, directory, stack):
    def tell(text):
        print(text, flush=True)

    tell("Starting NATS, Kafka and the stand-in for MongoDB ...")
    engines = Engines(directory / "engines")
    stack.callback(engines.kill)
    options = scheduler_options(engines.nats.port, engines.kafka.port, engines.mongo.port, "cluster")
    members = []

    def stop_members():
        for member in members:
            member.process.terminate()  # all at once
        for member in members:
            member.stop()

    stack.callback(stop_members)
    for number in range(arguments.schedulers):
        settings = {"rest": {"host": "localhost", "port": arguments.port + number if arguments.port else 0},
                    "farm": {"enabled": number == 0}}
        members.append(Member(directory / ("scheduler%d" % (number + 1)), options, settings))
    ports = [member.wait_for_port() for member in members]
    tell("NATS:     nats://127.0.0.1:%d" % engines.nats.port)
    tell("Kafka:    127.0.0.1:%d" % engines.kafka.port)
    tell("MongoDB:  mongodb://127.0.0.1:%d (a stand-in that keeps nothing for good)" % engines.mongo.port)
    for number, port in enumerate(ports, 1):
        tell("Scheduler %d%s: http://localhost:%d" % (number, ", with the farm" if number == 1 else "", port))
    tell("What they write lies in %s. A job, submitted at one and listed at another:" % directory)
    tell("  curl --json @examples/submitTranscode.json localhost:%d/submitTranscode" % ports[0])
    tell("  curl --json '{\"limit\": 20}' localhost:%d/findJobsEx" % ports[-1])
    tell("Ctrl-C stops everything.")
    while True:
        time.sleep(0.5)
        for number, member in enumerate(members, 1):
            assert member.process.poll() is None, "Scheduler %d has ended with %d" % (number, member.process.returncode)


def main():
    parser = argparse.ArgumentParser(prog="scripts/cluster.sh", description=__doc__)
    parser.add_argument("--schedulers", type=int, default=2, help="how many; the first has the farm (2)")
    parser.add_argument("--port", type=int, default=9900,
                        help="of the first scheduler, the others count on from it; 0 takes free ones (9900)")
    arguments = parser.parse_args()

    def interrupt(*_):
        signal.signal(signal.SIGINT, signal.SIG_IGN)
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        raise Interrupted

    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, interrupt)
    with tempfile.TemporaryDirectory(prefix="quillon-cluster-") as temporary, contextlib.ExitStack() as stack:
        try:
            run(arguments, pathlib.Path(temporary), stack)
        except Interrupted:
            print("Stopping ...", flush=True)
        except AssertionError as problem:
            return str(problem)
    return 0


if __name__ == "__main__":
    sys.exit(main())
