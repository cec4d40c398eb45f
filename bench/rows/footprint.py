"""How soon the service answers after its start, and what it has of memory while nobody asks; with the local farm,
as it runs when nothing is set."""

import contextlib
import http.client
import statistics
import sys
import time

from processes import free_port, memory_mb, spawn
from service import CALLERS, PATH, arguments

_DEADLINE_SECONDS = 30
_IDLE_SECONDS = 3  # by then it has given back what the start took


def _first_answer(process, port, body):
    headers = {"Content-Type": "application/json", "Authorization": "Bearer " + next(iter(CALLERS))}
    deadline = time.monotonic() + _DEADLINE_SECONDS
    while time.monotonic() < deadline and process.poll() is None:
        with contextlib.suppress(ConnectionRefusedError):
            connection = http.client.HTTPConnection("127.0.0.1", port, timeout=_DEADLINE_SECONDS)
            connection.request("POST", PATH, body, headers)
            if connection.getresponse().status == 200:
                return
        time.sleep(0.001)
    sys.exit("no answer after the start")


def measure(build, directory, store, body, starts=3):
    """Milliseconds from the start of the process to the answer of a submission, the median."""
    times, text = [], body.read_bytes()
    for _ in range(starts):
        port = free_port()
        command = arguments(build, directory, store, farm=True, port=port)
        begin = time.perf_counter()
        with spawn(command, directory / "output") as process:
            _first_answer(process, port, text)
            times.append((time.perf_counter() - begin) * 1000)
            time.sleep(_IDLE_SECONDS)
            idle = memory_mb(process, "VmRSS")
    return {"time": statistics.median(times), "slowest": max(times), "idle_mb": idle}
