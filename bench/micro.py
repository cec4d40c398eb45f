"""The micro benchmarks, one program for each room."""

import json
import os
import subprocess
import sys


def measure(programs, work):
    """Titles, times and their units, and rates where there are any."""
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
            name, value = result["name"], result["real_time"]
            yield {"row": name, "detail": False, "key": "micro." + name, "value": value, "unit": result["time_unit"],
                   "rounds": [value], "checks": [], "rate": result.get("items_per_second")}
