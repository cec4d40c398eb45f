"""beanstalkd with its log synced for every job: a queue that keeps what it accepted."""

import subprocess

from load import checked
from processes import find_program, free_port, listens, spawn, wait_until


def measure(directory, client, body, connections, seconds):
    """`client` is the program QueueLoad."""
    port, output, log = free_port(), directory / "output", directory / "log"
    log.mkdir()
    command = [find_program("beanstalkd"), "-l", "127.0.0.1", "-p", port, "-b", log, "-f", 0]
    with spawn(command, output) as server:
        wait_until(server, output, lambda: listens(port))
        for length in (1, seconds):
            words = subprocess.run(list(map(str, (client, port, connections, length, body))), check=True,
                                   stdout=subprocess.PIPE, text=True).stdout
        return checked(words, "beanstalkd")
