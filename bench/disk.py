"""What the disk itself can do."""

import os
import tempfile
import time


def measure(directory, seconds):
    """fdatasync calls a second of one thread, each after an append of 4 KB."""
    block, times = b"x" * 4096, []
    with tempfile.TemporaryFile(dir=directory, buffering=0) as file:
        begin = start = time.perf_counter()
        while start - begin < seconds:
            file.write(block)
            os.fdatasync(file.fileno())
            end = time.perf_counter()
            times.append((end - start) * 1000)
            start = end
    times.sort()
    return {"rate": len(times) / (start - begin), "p50": times[len(times) // 2], "p99": times[len(times) * 99 // 100]}
