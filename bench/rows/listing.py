"""Pages of a caller's own jobs, on a store that holds many. The index of jobs is made by the service meanwhile."""

import json
import sys
import time

from load import drive
from processes import memory_mb
from service import CALLERS, arguments, running

_INDEX_SECONDS = 300
_PAGES = {"first": 0, "tenth": 9}


def _page(service, token, number):
    answer, _ = service.ask("POST", "/findJobsEx", json.dumps({"offset": number}), token)
    return [job["clientKey"] for job in answer.get("results", [])]


def _wait_for_index(service, token, newest):
    """Seconds until the newest job is listed: the index is made from the oldest on."""
    start = time.monotonic()
    while time.monotonic() - start < _INDEX_SECONDS:
        if newest in _page(service, token, 0):
            return time.monotonic() - start
        time.sleep(0.05)
    sys.exit("the index of jobs was not made in time")


def measure(build, directory, store, newest, seconds):
    """`newest` is the last of the jobs of the first caller."""
    token, results = next(iter(CALLERS)), {}
    with running(arguments(build, directory, store, farm=True), directory / "output") as service:
        results["index"] = {"time": _wait_for_index(service, token, newest)}
        if set(_page(service, token, 0)) & set(_page(service, token, _PAGES["tenth"])):
            sys.exit("two pages hold the same jobs")
        for name, number in _PAGES.items():
            body = directory / "page.json"
            body.write_text(json.dumps({"offset": number}))
            results[name] = drive(service.url + "/findJobsEx", 1, seconds, body, token)
        results["peak"] = {"mb": memory_mb(service.process, "VmHWM")}
    return results
