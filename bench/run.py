"""Measures the built service on this machine and prints one table.

The load run starts the service on an empty store on the disk of the build tree, submits jobs from many
connections, and counts afterwards whether everything that was answered is stored and announced. Beside it stands
what the same disk does in the same minute: one thread that appends 4 KB and syncs, over and over. Two more runs
ask for catalogues, from many connections, and for the results of large queries, one after the other.
"""

import argparse
import contextlib
import json
import os
import pathlib
import re
import signal
import sqlite3
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.request

ROOT = pathlib.Path(__file__).resolve().parents[1]
START_SECONDS = 30
VIDEO_FORMAT = json.dumps({
    "RasterSize": {"Width": 1920, "Height": 1080}, "Progressive": True, "ChromaSampling": "422",
    "BitsPerComponent": 10, "ColorSpace": "0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395",
    "FrameRate": {"Numerator": 60000, "Denominator": 1001}, "MaxGOPLength": 1, "MaxBitRate": 440, "AvgBitRate": 440,
    "CompressionFamily": "Ravex HQX", "EncodingName": "Ravex HQX", "Compressed": True, "LegacyVCID": 1242,
    "Preset": "ravex/hr/1271/422"})


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


def start_service(directory, binary, *arguments):
    errors = directory / "err"
    with open(directory / "out", "wb") as out, open(errors, "wb") as err:
        service = subprocess.Popen([binary, *arguments], stdout=out, stderr=err, stdin=subprocess.DEVNULL)
    deadline = time.monotonic() + START_SECONDS
    while time.monotonic() < deadline and service.poll() is None:
        listening = re.search(r"Listening on http://\S+:(\d+)", errors.read_text())
        if listening:
            return service, "http://127.0.0.1:" + listening.group(1)
        time.sleep(0.02)
    service.kill()
    sys.exit("the service did not start:\n" + errors.read_text())


def scheduler(directory, build, store):
    """The arguments of `start_service` for the service on its own: no local farm takes its share of the machine."""
    settings = directory / "settings.json"
    settings.write_text('{"farm": {"enabled": false}}')
    return (directory, build / "bin/quillon-scheduler", "--port=0", "--mongo-uri=sqlite:%s" % store,
            "--config=%s" % settings)


def memory_mib(process, field):
    status = pathlib.Path("/proc/%d/status" % process.pid).read_text()
    return int(re.search(field + r":\s+(\d+) kB", status).group(1)) / 1024


@contextlib.contextmanager
def running(directory, binary, *arguments):
    """The process and its address; it has ended in good order afterwards."""
    service, url = start_service(directory, binary, *arguments)
    try:
        yield service, url
        service.send_signal(signal.SIGTERM)
        if service.wait(60) != 0:
            sys.exit("%s ended with %d" % (binary, service.returncode))
    finally:
        if service.poll() is None:
            service.kill()


def drive(url, connections, seconds, *body):
    command = ["wrk", "-t1", "-c%d" % connections, "-d%ds" % seconds, "--timeout", "10s",
               "-s", str(ROOT / "bench/load.lua"), url, "--", *map(str, body)]
    output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return json.loads(output.strip().splitlines()[-1])


def load_run(build, work, connections, seconds):
    """Rows of the table; ends the program if an answered submission is missing or one was refused."""
    store, body = work / "store.db", work / "body.json"
    example = json.loads((ROOT / "examples/submitTranscode.json").read_text())
    body.write_text(json.dumps(example, separators=(",", ":")))
    before = sync_rate(work)
    with running(*scheduler(work, build, store)) as (service, url):
        warm, load = (drive(url + "/submitTranscode", connections, length, body) for length in (1, seconds))
        memory = memory_mib(service, "VmHWM")
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


def catalogue_run(build, work, connections, seconds):
    """A catalogue message through the bus to a worker and back; ends the program if one failed."""
    with running(work, build / "bench/bin/CatalogueService") as (_, url):
        _, load = (drive(url + "/formats/video?LegacyVCID=1242", connections, length) for length in (1, seconds))
    if load["refused"] or load["broken"]:
        sys.exit("not every catalogue message was answered: %s" % load)
    return [
        ("catalogue messages", load["requests"] / load["seconds"], "/s"),
        ("  answered in, half", load["p50"], "ms"),
        ("  answered in, 99 of 100", load["p99"], "ms"),
    ]


def timed_get(url, expected):
    start = time.perf_counter()
    with urllib.request.urlopen(url) as answer:
        text = answer.read().decode()
    milliseconds = (time.perf_counter() - start) * 1000
    if text.count(expected[0]) != expected[1]:
        sys.exit("%s: %s" % (url, text[:200]))
    return milliseconds


def results_run(build, work, rounds=5):
    """What is fetched of many records that another program stored; the medians of some rounds."""
    store, fetched, listed = work / "results.db", [], []
    with running(*scheduler(work, build, store)) as (service, url):
        insert(store, "Profile", "V2_WFProfiles", '{"name":"HD","type":"Proxy"}', 1000, "")
        timed_get(url + "/profiles", ('"isProxy":true', 1000))
        before = memory_mib(service, "VmRSS")
        for number in range(rounds):
            listed.append(timed_get(url + "/profiles", ('"isProxy":true', 1000)))
            insert(store, "VideoFormat", "V2_WFVideoFormats", VIDEO_FORMAT, 10_000, "q%d" % number)
            fetched.append(timed_get(url + "/findVideoFormats?queryID=q%d" % number, ('"Preset"', 60)))
        time.sleep(1)  # what the service gives back, it gives back when it is idle
        after, peak = (memory_mib(service, field) for field in ("VmRSS", "VmHWM"))
    return [
        ("a page of 10,000 video formats", statistics.median(fetched), "ms"),
        ("  the slowest of %d" % rounds, max(fetched), "ms"),
        ("  memory before, after them, at most", before, "MiB, %.1f, %.1f" % (after, peak)),
        ("1,000 profiles", statistics.median(listed), "ms"),
    ]


def insert(store, kind, topic, document, count, query_id):
    with contextlib.closing(sqlite3.connect(store, timeout=10)) as database:
        database.execute("PRAGMA wal_autocheckpoint = 0")
        with database:
            database.executemany(
                "INSERT INTO records (recordType, recordTopic, recordData, recordPublicData) VALUES (?, ?, ?, ?)",
                [(kind, topic, document, json.dumps({"queryID": query_id}))] * count)


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
            rows += load_run(build, work, options.connections, options.seconds)
            rows += catalogue_run(build, work, options.connections, options.seconds)
            rows += results_run(build, work)
        if options.only != "load":
            rows += micro_rows(sorted((build / "bench/bin").glob("*Bench")), work)
    print("%-60s %14s" % ("%d cores, %d connections, %d s" % (
        os.cpu_count(), options.connections, options.seconds), "measured"))
    for name, value, unit in rows:
        print("%-60s %14s %s" % (name, shown(value), unit))


if __name__ == "__main__":
    main()
