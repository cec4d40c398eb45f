"""Drives a server with many connections at once, each of which asks anew when it has its answer."""

import json
import pathlib
import subprocess
import sys

_SCRIPT = pathlib.Path(__file__).with_name("load.lua")


def drive(url, connections, seconds, body=None, token=None):
    """A POST of the file `body`, or a GET where there is none. Every request must have been answered well."""
    command = ["wrk", "-t%d" % min(2, connections), "-c%d" % connections, "-d%ds" % seconds, "--timeout", "10s",
               "-s", str(_SCRIPT), url, "--", str(body or ""), token or ""]
    return checked(subprocess.run(command, check=True, capture_output=True, text=True).stdout, url)


def checked(output, what):
    """The summary, which is the last line, with the rate in it; milliseconds for times."""
    summary = json.loads(output.strip().splitlines()[-1])
    if summary["refused"] or summary["broken"] or not summary["requests"]:
        sys.exit("%s: not every request was answered: %s" % (what, summary))
    summary["rate"] = summary["requests"] / summary["seconds"]
    return summary
