"""Measures the built service on this machine, beside what else a user could take and what the machine can do.

Everything lies in one directory, and so on one file system. What is compared is measured in turns, in each of some
rounds, so that a slow minute of the disk falls on all alike. Prints one table and writes it as JSON.
"""

import argparse
import collections
import contextlib
import json
import os
import pathlib
import platform
import shutil
import signal
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.append(str(ROOT / "scripts"))  # where packed texts are read and engines are started

import disk
import filling
import micro
import plan
import service
import table
from engines import Engines
from peers import beanstalkd, nginx, postgres, redis
from rows import catalogue, cluster, find, footprint, hostile, listing, submissions, turns

CONNECTIONS = 64
GROUPS = ("disk", "http", "database", "queue", "values", "submissions", "large", "catalogue", "find", "listing",
          "footprint", "hostile", "turns")
TURNS = 5
HOSTILE_ROUNDS = 3  # of slow answers few are seen in one, and another program may have been the cause
NEED_LARGE_STORE = {"large", "listing", "footprint"}


class Bench:
    """The measurements in their order, and the numbers so far."""

    def __init__(self, options, work):
        self._options, self._work, self._build = options, work, options.build.resolve()
        self._made = 0
        self.measured = collections.defaultdict(list)
        self._body = work / "body.json"
        example = json.loads((ROOT / "examples/submitTranscode.json").read_text())
        self._body.write_text(json.dumps(example, separators=(",", ":")))
        self._large = self._newest = None

    def run(self):
        groups = self._options.only
        if NEED_LARGE_STORE & groups:
            self._fill()
        if "listing" in groups:
            self._listing()
        if "footprint" in groups:
            self._note("footprint", lambda place: footprint.measure(self._build, place, self._large, self._body))
        if "turns" in groups and self._options.beside:
            self._turns()
        if "hostile" in groups:
            self._hostile()
        for number in range(self._options.rounds):
            self._round("round %d of %d: " % (number + 1, self._options.rounds))
        if "find" in groups:
            with self._place("find") as place:
                self._add("find-", find.measure(self._build, place, 3 if self._options.quick else 5))

    def _round(self, label):
        def step(group, name, measure):
            if group in self._options.only:
                self._note(name, measure, label)

        def sync(place):
            return disk.measure(place, min(seconds, 2))

        build, body, seconds = self._build, self._body, self._options.seconds
        step("disk", "disk-before", sync)
        self._fresh(label, 1)
        step("disk", "disk", sync)
        self._filled(label, 1)
        step("http", "http", lambda place: nginx.measure(place, body, CONNECTIONS, seconds))
        if "database" in self._options.only:
            with self._place(label + "database") as place:
                self._add("database-", postgres.measure(place, self._texts(), CONNECTIONS, seconds))
        step("queue", "queue", lambda place: beanstalkd.measure(
            place, build / "bench/bin/QueueLoad", body, CONNECTIONS, seconds))
        step("values", "values", lambda place: redis.measure(
            place, sum(len(text.encode()) for text in self._texts().values()), CONNECTIONS, 10_000 * seconds))
        for connections in (64, 512):
            self._fresh(label, connections)
            self._filled(label, connections)
        step("catalogue", "catalogue", lambda place: catalogue.measure(build, place, CONNECTIONS, seconds))
        step("disk", "disk-after", sync)

    def _fresh(self, label, connections):
        def measure(place):
            store = place / "store.db"
            numbers = submissions.measure(self._build, place, store, self._body, connections, self._options.seconds)
            if connections == CONNECTIONS:
                job, texts = submissions.bytes_of_job(store)
                self.measured["bytes"].append({"job": job, "texts": texts})
                job, texts = submissions.bytes_of_own_jobs(self._build, place)
                self.measured["bytes-own"].append({"job": job, "texts": texts})
            return numbers

        if "submissions" in self._options.only:
            self._note("%s-%d" % (plan.FRESH, connections), measure, label)

    def _filled(self, label, connections):
        if "large" in self._options.only:
            self._note("%s-%d" % (plan.LARGE, connections), lambda place: submissions.measure(
                self._build, place, self._large, self._body, connections, self._options.seconds), label)

    def run_cluster(self):
        """Another table: many machines, with the engines started once for all."""
        engines = Engines(self._work / "engines")
        try:
            for number in range(self._options.rounds):
                self._cluster_round(engines, number + 1)
            for number in range(TURNS):
                self._cluster_turn(engines, "turn %d: " % (number + 1))
        finally:
            engines.kill()

    def _cluster_round(self, engines, number):
        label, seconds = "round %d of %d: " % (number, self._options.rounds), self._options.seconds
        for kind, callers in cluster.ALONE:
            self._note("%s-%d" % (kind, callers), lambda place: cluster.alone(
                self._build, engines, kind, callers, self._body, seconds), label)
        for count in cluster.SCHEDULERS:
            self._note("schedulers-%d" % count, lambda place: cluster.submissions(
                self._build, place, engines, "round%d-%d" % (number, count), self._body, count, seconds), label)

    def _cluster_turn(self, engines, label):
        for connections in (1, CONNECTIONS):
            self._note("embedded-%d" % connections, lambda place: turns.measure(
                self._build, place, self._body, connections, self._options.seconds), label)
            self._note("cluster-%d" % connections, lambda place: cluster.answering(
                self._build, place, engines, self._body, connections, self._options.seconds), label)

    def _turns(self):
        for number in range(TURNS):
            for connections in (1, CONNECTIONS):
                for name, build in (("beside", self._options.beside.resolve()), ("here", self._build)):
                    self._note("%s-%d" % (name, connections), lambda place: turns.measure(
                        build, place, self._body, connections, self._options.seconds), "turn %d: " % (number + 1))

    def _hostile(self):
        for number in range(HOSTILE_ROUNDS):
            with self._place("beside hostile callers: round %d of %d" % (number + 1, HOSTILE_ROUNDS)) as place:
                self._add("hostile-", hostile.honest(self._build, place, self._body, self._options.seconds))
        with self._place("memory of hostile callers") as place:
            self._add("memory-", hostile.memory(self._build, place))

    def _fill(self):
        self._say("filling a store with {:,} jobs".format(self._options.jobs))
        directory = self._work / "large"
        directory.mkdir()
        self._large = directory / "store.db"
        self._newest = filling.fill(self._build, directory, self._large, self._body, self._options.jobs)

    def _listing(self):
        with self._place("listing") as place:
            self._add("listing-", listing.measure(self._build, place, self._large, self._newest,
                                                  self._options.seconds))

    def _texts(self):
        """The variables of the peer's transaction: the texts of rows that the service stored."""
        with tempfile.TemporaryDirectory(dir=self._work) as directory:
            rows = service.submitted(self._build, pathlib.Path(directory), self._body)
        columns = {"Type": "recordType", "Name": "name", "Topic": "recordTopic", "Data": "recordData",
                   "Public": "recordPublicData"}
        return {kind + name: row[column] for kind, row in zip(("job", "event"), rows)
                for name, column in columns.items()}

    def _add(self, prefix, numbers):
        for name, values in numbers.items():
            self.measured[prefix + name].append(values)

    def _note(self, name, measure, label=""):
        with self._place(label + name) as place:
            self.measured[name].append(measure(place))

    @contextlib.contextmanager
    def _place(self, label):
        """A directory for one measurement, gone after it; the disk is at rest before the next begins."""
        self._say(label)
        self._made += 1
        place = self._work / ("measurement-%d" % self._made)
        place.mkdir()
        try:
            yield place
        finally:
            shutil.rmtree(place, ignore_errors=True)
        os.sync()

    @staticmethod
    def _say(text):
        print("%s %s" % (time.strftime("%H:%M:%S"), text), file=sys.stderr, flush=True)


def read_options():
    parser = argparse.ArgumentParser(description="Measures the service on this machine.")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release", help="the build tree")
    parser.add_argument("--beside", type=pathlib.Path, help="another build tree, measured in turns with this one")
    parser.add_argument("--directory", type=pathlib.Path, help="where everything is written; in the build tree")
    parser.add_argument("--json", type=pathlib.Path, default=ROOT / "build/bench.json", help="the table as JSON")
    parser.add_argument("--seconds", type=int, help="how long each load lasts, in each round")
    parser.add_argument("--rounds", type=int)
    parser.add_argument("--jobs", type=int, help="in the large store")
    parser.add_argument("--quick", action="store_true", help="short loads, one round, 50,000 jobs")
    parser.add_argument("--only", nargs="+", choices=GROUPS, metavar="ROW", help=", ".join(GROUPS))
    parser.add_argument("--cluster", action="store_true", help="many machines instead, with the engines on this one")
    parser.add_argument("--micro", action="store_true", help="the micro benchmarks instead")
    options = parser.parse_args()
    short, full = (1, 1, 50_000), (4, 2, 1_000_000)
    for name, value in zip(("seconds", "rounds", "jobs"), short if options.quick else full):
        if getattr(options, name) is None:
            setattr(options, name, value)
    options.only = set(options.only or GROUPS)
    return options


def main():
    options = read_options()
    # Whoever stops this program stops what it started: the exception unwinds every `with`.
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit("stopped"))
    start = time.monotonic()
    with tempfile.TemporaryDirectory(prefix="bench-", dir=options.directory or options.build) as directory:
        work = pathlib.Path(directory).resolve()
        work.chmod(0o711)  # another user may have a directory in it
        if options.micro:
            results = list(micro.measure(sorted((options.build / "bench/bin").glob("*Bench")), work))
        else:
            bench = Bench(options, work)
            bench.run_cluster() if options.cluster else bench.run()
            results = list(table.evaluate(
                list(plan.cluster_rows()) if options.cluster else plan.rows(options.jobs), bench.measured))
            numbers = bench.measured
    report = {"date": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime()), "machine": platform.platform(),
              "cores": os.cpu_count(), "seconds": options.seconds, "rounds": options.rounds, "jobs": options.jobs,
              "took": time.monotonic() - start, "rows": results}
    if not options.micro:
        report["measured"] = numbers
    options.json.parent.mkdir(parents=True, exist_ok=True)
    options.json.write_text(json.dumps(report, indent=1) + "\n")
    print("\n".join(table.lines(results)))
    print("%d cores, %d x %d s for each load, in %d s; as JSON in %s" % (
        os.cpu_count(), options.rounds, options.seconds, report["took"], options.json))


if __name__ == "__main__":
    main()
