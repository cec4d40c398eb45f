"""One caller's huge bodies, all refused, and what the others notice; and what memory they come to."""

import contextlib
import multiprocessing
import socket
import sqlite3
import threading
import time

from load import drive
from processes import memory_mb
from service import PATH, arguments, running

LARGEST = 4 * 1024 * 1024
_HEAD = "POST %s HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\nContent-Length: %d\r\n\r\n"
HONEST = 16


def shapes():
    """Bodies that cost the most for their size: many small trees, arrays and members."""
    def filled(begin, piece, end):
        last = piece.rstrip(b",")
        return begin + piece * ((LARGEST - len(begin) - len(last) - len(end)) // len(piece)) + last + end

    return (filled(b"[", b"[],", b"]"), filled(b"[", b"{},", b"]"), filled(b'{"a":[', b'{"":1},', b"]}"))


def _send_for_ever(port, body):
    while True:
        with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port)) as connection:
            while True:
                connection.sendall((_HEAD % (PATH, len(body))).encode() + body)
                if not connection.recv(65536):
                    break


@contextlib.contextmanager
def _attackers(port, connections, body):
    def attack():
        threads = [threading.Thread(target=_send_for_ever, args=(port, body), daemon=True) for _ in range(connections)]
        for thread in threads:
            thread.start()
        threads[0].join()

    process = multiprocessing.get_context("fork").Process(target=attack, daemon=True)
    process.start()
    try:
        time.sleep(0.5)
        yield
    finally:
        process.kill()
        process.join()


def honest(build, directory, body, seconds):
    """Of submissions over a few connections: alone, and beside 1 and 32 connections of bodies that are refused."""
    results = {}
    with running(arguments(build, directory, directory / "store.db"), directory / "output") as service:
        url = service.url + PATH
        drive(url, HONEST, 1, body)
        results["0"] = drive(url, HONEST, seconds, body)
        for number in (1, 32):
            with _attackers(service.port, number, shapes()[0]):
                results[str(number)] = drive(url, HONEST, seconds, body)
    return results


def _exchange(port, body, answers):
    with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), timeout=60) as connection:
        connection.sendall((_HEAD % (PATH, len(body))).encode() + body)
        answers.append(connection.recv(65536).split(b" ")[1])


def _all_at_once(port, number):
    bodies, answers = shapes(), []
    threads = [threading.Thread(target=_exchange, args=(port, bodies[n % len(bodies)], answers)) for n in range(number)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return answers


def _unfinished(port, connections, seconds):
    """Each sends all but the last byte, as far as it is taken."""
    body, open_ones = bytes(shapes()[0][:-1]), []
    for _ in range(connections):
        connection = socket.create_connection(("127.0.0.1", port))
        connection.setblocking(False)
        open_ones.append([connection, memoryview((_HEAD % (PATH, len(body) + 1)).encode() + body)])
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        for entry in open_ones:
            with contextlib.suppress(OSError):
                entry[1] = entry[1][entry[0].send(entry[1][:262144]):]
        time.sleep(0.001)
    for connection, _ in open_ones:
        connection.close()


@contextlib.contextmanager
def _store_waits(store, seconds):
    """Another program holds the store's lock."""
    database = sqlite3.connect(store, check_same_thread=False, isolation_level=None)
    database.execute("PRAGMA wal_autocheckpoint=0")
    database.execute("BEGIN IMMEDIATE")
    timer = threading.Timer(seconds, lambda: database.execute("ROLLBACK"))
    timer.start()
    try:
        yield
    finally:
        timer.join()
        database.close()


def memory(build, directory, waits=8):
    """The most that the process held, in each case since its start, and what it has two seconds later."""
    results = {}
    store = directory / "store.db"

    def case(name, act):
        with running(arguments(build, directory, store), directory / "output") as service:
            idle = memory_mb(service.process, "VmRSS")
            act(service)
            time.sleep(2)
            results[name] = {"mb": memory_mb(service.process, "VmHWM"),
                             "left_mb": memory_mb(service.process, "VmRSS") - idle}

    def while_the_store_waits(service):
        with _store_waits(store, waits):
            _all_at_once(service.port, 64)

    case("parallel", lambda service: _all_at_once(service.port, 64))
    case("unfinished", lambda service: _unfinished(service.port, 4096, waits))
    case("waiting", while_the_store_waits)
    return results
