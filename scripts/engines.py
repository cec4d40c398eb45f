"""The engines of many machines, each a process on free ports of this one, and the schedulers that stand on them."""

import contextlib
import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import time

from free_ports import free_ports

ROOT = pathlib.Path(__file__).resolve().parents[1]
# Of this machine, busy with something else. The broker takes seven seconds on an idle one.
DEADLINE_SECONDS = 120
LARGEST_MESSAGE = 8 * 1024 * 1024  # room for `rest.maxBodyBytes` and what travels with it


def wait_until(condition, what, pause=0.01):
    deadline = time.monotonic() + DEADLINE_SECONDS
    while not condition():
        assert time.monotonic() < deadline, "no " + what
        time.sleep(pause)


class Engine:
    """A server of which all files lie in `directory`. It keeps its port from one start to the next, and ends with the
    thread that started it, even if that is killed. Not thread-safe."""

    name = None

    def __init__(self, directory):
        self.directory = pathlib.Path(directory)
        self.directory.mkdir(parents=True)
        self.process = None
        self.start()

    def start(self):
        """Returns at once; `wait_until_ready` waits."""
        with open(self.directory / "output", "ab") as output:
            # In a group of its own, so that Ctrl-C leaves its end to whoever started it.
            self.process = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", *self._command()], cwd=ROOT,
                                            stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                            start_new_session=True)

    def wait_until_ready(self):
        def is_ready():
            assert self.process.poll() is None, "%s ended with %s: %s" % (
                self.name, self.process.returncode, (self.directory / "output").read_text()[-2000:])
            with contextlib.suppress(OSError, struct.error):
                return self._answers()
            return False

        wait_until(is_ready, "answer of " + self.name)
        return self

    @property
    def port(self):
        return int((self.directory / "port").read_text())

    def stop(self):
        """In good order."""
        self._end(signal.SIGTERM)

    def kill(self):
        self._end(signal.SIGKILL)

    def restart(self):
        self.start()
        self.wait_until_ready()

    def pause(self):
        """It keeps its connections, and answers nothing."""
        self.process.send_signal(signal.SIGSTOP)
        os.waitid(os.P_PID, self.process.pid, os.WSTOPPED | os.WNOWAIT)

    def resume(self):
        self.process.send_signal(signal.SIGCONT)

    def _end(self, number):
        if self.process.poll() is None:
            self.process.send_signal(number)
            self.resume()
            try:
                self.process.wait(DEADLINE_SECONDS)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
                raise

    def _connect(self):
        return socket.create_connection(("127.0.0.1", self.port), 1)

    def _answers(self):
        with self._connect():
            return True

    @staticmethod
    def find_missing():
        """What is missing, or nothing."""

    def _command(self):
        raise NotImplementedError


class Nats(Engine):
    name = "the NATS server"

    def _command(self):
        if not (self.directory / "port").exists():
            port = free_ports(1)[0]
            (self.directory / "port").write_text(str(port))
            (self.directory / "server.conf").write_text(
                "listen: 127.0.0.1:%d\nmax_payload: %d\nwrite_deadline: 2s\n" % (port, LARGEST_MESSAGE))
        return ["nats-server", "-c", str(self.directory / "server.conf")]

    def _answers(self):
        with self._connect() as connection:
            return connection.recv(4) == b"INFO"

    @staticmethod
    def find_missing():
        return None if shutil.which("nats-server") else "nats-server is not installed (scripts/packages.txt)"


class Kafka(Engine):
    name = "the Kafka broker"

    def _command(self):
        return ["scripts/kafka.sh", "run", str(self.directory)]

    def _answers(self):
        """Once it answers which versions of its requests it knows it takes the others too."""
        with self._connect() as connection:
            connection.sendall(struct.pack(">ihhih", 10, 18, 0, 1, -1))
            return len(connection.recv(4)) == 4

    @staticmethod
    def find_missing():
        if not (ROOT / "build/kafka/lib/complete").exists() or not shutil.which("java"):
            return "the Kafka broker is not here (scripts/kafka.sh fetch)"
        return None

    def messages(self, topic):
        """The values of all messages in the topic, in their order, as they lie on disk: also while the broker is not
        there to be asked."""
        values = []
        for segment in sorted((self.directory / "log" / (topic + "-0")).glob("*.log")):
            values += _values_of(segment.read_bytes())
        return values


class Mongo(Engine):
    name = "the stand-in for MongoDB"

    def _command(self):
        return ["scripts/mongo.sh", "run", str(self.directory)]

    @staticmethod
    def find_missing():
        if not (ROOT / "build/mongo/requirements.txt").exists():
            return "the stand-in for MongoDB is not here (scripts/mongo.sh fetch)"
        return None


def find_missing():
    """What of the engines is not installed, and what installs it; or nothing."""
    return "; ".join(filter(None, (kind.find_missing() for kind in (Nats, Kafka, Mongo))))


class Engines:
    """One of each, in `directory`."""

    def __init__(self, directory):
        directory = pathlib.Path(directory)
        self._all = []
        try:
            self.nats, self.kafka, self.mongo = (self._start(kind, directory) for kind in (Nats, Kafka, Mongo))
            for engine in self._all:
                engine.wait_until_ready()
        except BaseException:
            self.kill()
            raise

    def _start(self, kind, directory):
        self._all.append(kind(directory / kind.__name__.lower()))
        return self._all[-1]

    def kill(self):
        """Nothing of theirs is kept."""
        for engine in self._all:
            engine.kill()


def scheduler_options(nats_port, kafka_port, mongo_port, database):
    """The words of a command that join a scheduler to these engines; its settings file says where it listens."""
    return ["--deploy=distributed", "--host=127.0.0.1", "--port=%d" % nats_port,
            # Of one server alone: the address that it knows itself by may be another than that of a proxy before it.
            "--mongo-uri=mongodb://127.0.0.1:%d/?directConnection=true" % mongo_port, "--mongo-db=" + database,
            "--kafka-host=127.0.0.1", "--kafka-port=%d" % kafka_port]


# --- Kafka's log, as it lies on disk: batches of records in the format that its documentation calls magic 2.

_BATCH = struct.Struct(">qiibIhiqqqhii")


def _values_of(log):
    at, values = 0, []
    while at + _BATCH.size <= len(log):
        _, length, _, magic, _, attributes, *_, count = _BATCH.unpack_from(log, at)
        if length == 0 or at + 12 + length > len(log):
            break  # being written
        assert magic == 2 and attributes & 7 == 0, "a batch of another format, or packed"
        place = at + _BATCH.size
        is_of_broker = attributes & 0x20
        for _ in range(0 if is_of_broker else count):
            size, place = _number(log, place)
            end = place + size
            place += 1  # attributes
            for _ in ("timestamp", "offset"):
                _, place = _number(log, place)
            size, place = _number(log, place)
            size, place = _number(log, place + max(size, 0))  # past the key
            values.append(log[place:place + size])
            place = end
        at += 12 + length
    return values


def _number(log, place):
    """Of variable length, with the sign in the last bit."""
    value, shift = 0, 0
    while True:
        byte = log[place]
        value |= (byte & 0x7F) << shift
        place, shift = place + 1, shift + 7
        if byte < 0x80:
            return (value >> 1) ^ -(value & 1), place
