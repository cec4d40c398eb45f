"""Redis with its log synced before each answer: a store of values as large as a job's record, without HTTP."""

import re
import subprocess
import sys

from processes import find_program, free_port, listens, spawn, wait_until


def measure(directory, size, connections, requests):
    port, output = free_port(), directory / "output"
    command = [find_program("redis-server"), "--port", port, "--bind", "127.0.0.1", "--dir", directory,
               "--appendonly", "yes", "--appendfsync", "always", "--save", ""]
    with spawn(command, output) as server:
        wait_until(server, output, lambda: listens(port))
        client = [find_program("redis-benchmark"), "-p", port, "-t", "set", "-c", connections, "-d", size, "-n", requests,
                  "-r", 1_000_000_000, "--csv"]
        words = subprocess.run(list(map(str, client)), check=True, stdout=subprocess.PIPE, text=True).stdout
    # "test","rps","avg_latency_ms","min_latency_ms","p50_latency_ms","p95_latency_ms","p99_latency_ms","max_latency_ms"
    found = re.search(r'^"SET","([\d.]+)"(?:,"[\d.]+"){4},"([\d.]+)"', words, re.MULTILINE)
    if not found:
        sys.exit("redis-benchmark said:\n" + words)
    return {"rate": float(found.group(1)), "p99": float(found.group(2))}
