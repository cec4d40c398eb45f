"""Ports for servers that take them later: scripts/free_ports.py N prints N of them."""

import contextlib
import random
import socket
import sys

# Below those that Linux gives to outgoing connections: one of these might take the port before its server does.
_RANGE = range(10000, 32768)


def free_ports(count):
    with contextlib.ExitStack() as held:
        ports = []
        for port in random.sample(_RANGE, len(_RANGE)):
            if len(ports) == count:
                break
            with contextlib.suppress(OSError):
                held.enter_context(socket.create_server(("127.0.0.1", port)))
                ports.append(port)
        return ports


if __name__ == "__main__":
    print(*free_ports(int(sys.argv[1])))
