"""Measures the built service on this machine and prints one table.

The load run starts the service on an empty store on the disk of the build tree, submits jobs from many
connections, and counts afterwards whether everything that was answered is stored and announced. Beside it stands
what the same disk does in the same minute: one thread that appends 4 KB and syncs, over and over.
"""

import argparse
import contextlib
import json
import os
import pathlib
import re
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
START_SECONDS = 30


def sync_rate(directory, seconds=1.5):
    """fdatasync calls a second, each after an append of 4 KB."""
    block, count = b"x" * 4096, 0
    with tempfile.TemporaryFile(dir=directory, buffering=0) as file:
        start = time.perf_counter()
        while time.perf_counter() - start < seconds:
            file.write(block)
            os.fdatasync(file.fileno())
            count += 1
        return count / (time.perf_counter() - start)


def start_service(binary, directory, store):
    errors = directory / "err"
    with open(directory / "out", "wb") as out, open(errors, "wb") as err:
        service = subprocess.Popen([binary, "--port=0", "--mongo-uri=sqlite:%s" % store], stdout=out, stderr=err,
                                   stdin=subprocess.DEVNULL)
    deadline = time.monotonic() + START_SECONDS
    while time.monotonic() < deadline and service.poll() is None:
        listening = re.search(r"Listening on http://\S+:(\d+)", errors.read_text())
        if listening:
            return service, "http://127.0.0.1:" + listening.group(1)
        time.sleep(0.02)
    service.kill()
    sys.exit("the service did not start:\n" + errors.read_text())


def peak_memory_mib(process):
    status = pathlib.Path("/proc/%d/status" % process.pid).read_text()
    return int(re.search(r"VmHWM:\s+(\d+) kB", status).group(1)) / 1024


def drive(url, body, connections, seconds):
    command = ["wrk", "-t1", "-c%d" % connections, "-d%ds" % seconds, "--timeout", "10s",
               "-s", str(ROOT / "bench/submit.lua"), url + "/submitTranscode", "--", str(body)]
    output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return json.loads(output.strip().splitlines()[-1])


def load_run(binary, work, connections, seconds):
    """Rows of the table; ends the program if an answered submission is missing or one was refused."""
    store, body = work / "store.db", work / "body.json"
    example = json.loads((ROOT / "examples/submitTranscode.json").read_text())
    body.write_text(json.dumps(example, separators=(",", ":")))
    before = sync_rate(work)
    service, url = start_service(binary, work, store)
    try:
        warm = drive(url, body, connections, 1)
        load = drive(url, body, connections, seconds)
        memory = peak_memory_mib(service)
        service.send_signal(signal.SIGTERM)
        if service.wait(60) != 0:
            sys.exit("the service ended with %d" % service.returncode)
    finally:
        if service.poll() is None:
            service.kill()
    syncs = (before + sync_rate(work)) / 2
    stored = check_store(store, [warm, load], connections)
    rate = load["requests"] / load["seconds"]
    return [
        ("submissions", rate, "/s"),
        ("  answered in, half", load["p50"], "ms"),
        ("  answered in, 99 of 100", load["p99"], "ms"),
        ("  peak memory", memory, "MiB"),
        ("  store file, each job", store.stat().st_size / stored, "bytes"),
        ("syncs of 4 KB, this disk", syncs, "/s"),
        ("  one sync", 1000 / syncs, "ms"),
        ("submissions for each sync's time", rate / syncs, ""),
        ("answer (half) in syncs", load["p50"] * syncs / 1000, ""),
    ]


def check_store(store, loads, connections):
    """Each load ends in mid-flight: what a connection had sent last may be stored without its answer."""
    for load in loads:
        if load["refused"] or load["broken"] or not load["requests"]:
            sys.exit("not every submission was accepted: %s" % load)
    with contextlib.closing(sqlite3.connect("file:%s?mode=ro" % store, uri=True)) as database:
        stored, announced = (database.execute("SELECT count(*) FROM " + table).fetchone()[0]
                             for table in ("records", "events"))
    answered = sum(load["requests"] for load in loads)
    if not answered <= stored <= answered + len(loads) * connections or stored != announced:
        sys.exit("%d answered, %d stored, %d announced" % (answered, stored, announced))
    return stored


def micro_rows(programs, work):
    for program in programs:
        print("running %s" % program.name, file=sys.stderr)
        report = subprocess.run([program, "--benchmark_format=json", "--benchmark_min_time=0.2"], check=True,
                                stdout=subprocess.PIPE, text=True,
                                env=dict(os.environ, QUILLON_BENCH_DIR=str(work))).stdout
        for result in json.loads(report)["benchmarks"]:
            if result["run_type"] != "iteration":  # fitted curves and the like
                continue
            if result.get("error_occurred"):
                sys.exit("%s: %s" % (result["name"], result["error_message"]))
            rate = result.get("items_per_second")
            yield result["name"], result["real_time"], result["time_unit"] + (" (%s /s)" % shown(rate) if rate else "")


def shown(value):
    return "{:,.{}f}".format(value, 0 if value >= 100 else 2)


def main():
    parser = argparse.ArgumentParser(description="Measures the service on this machine.")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release", help="the build tree")
    parser.add_argument("--seconds", type=int, default=10, help="how long the load lasts")
    parser.add_argument("--connections", type=int, default=64)
    parser.add_argument("--only", choices=("load", "micro"), help="half of it")
    options = parser.parse_args()
    build = options.build.resolve()
    rows = []
    with tempfile.TemporaryDirectory(prefix="bench-", dir=build) as directory:
        work = pathlib.Path(directory)
        if options.only != "micro":
            rows += load_run(build / "bin/quillon-scheduler", work, options.connections, options.seconds)
        if options.only != "load":
            rows += micro_rows(sorted((build / "bench/bin").glob("*Bench")), work)
    print("%-60s %14s" % ("%d cores, %d connections, %d s" % (
        os.cpu_count(), options.connections, options.seconds), "measured"))
    for name, value, unit in rows:
        print("%-60s %14s %s" % (name, shown(value), unit))


if __name__ == "__main__":
    main()
