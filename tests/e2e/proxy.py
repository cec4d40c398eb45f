"""A TCP proxy that a test lets go bad: it delays, swallows what goes one way, cuts connections in a message."""

import contextlib
import socket
import struct
import threading

PIECE = 64 * 1024
TO_SERVER, TO_CLIENT = "to the server", "to the client"


class Proxy:
    """Stands before 127.0.0.1:`target` on a port of its own. What is told to it holds from the next piece on, also on
    connections that are open. Thread-safe."""

    def __init__(self, target):
        self._target = target
        self._lock = threading.Lock()
        self._sockets = set()
        self._mended, self._cuts = threading.Event(), threading.Event()
        self.mend()
        self._listener = socket.create_server(("127.0.0.1", 0), backlog=256)
        self.port = self._listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def mend(self):
        """Everything passes again. What was swallowed is lost, so its connections are cut."""
        swallowed = getattr(self, "_swallowed", set())
        self._delay, self._swallowed = 0, set()
        self._mended.set()
        if swallowed:
            self._cut_all()

    def delay(self, seconds):
        """Each piece of either direction comes so much later, the pieces behind it too."""
        self._mended.clear()
        self._delay = seconds

    def swallow(self, *directions):
        """Takes what goes there and lets nothing of it out; new connections are accepted."""
        self._mended.clear()
        self._swallowed = set(directions)

    def cut(self):
        """Of the next piece to the client half goes out, and its connection is reset."""
        self._cuts.set()

    def close(self):
        # A listener that is only closed lets the thread sleep on.
        with contextlib.suppress(OSError):
            self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        self._mended.set()
        self._cut_all()

    def _cut_all(self):
        with self._lock:
            for end in self._sockets:
                _reset(end)

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
            except OSError:
                return
            try:
                server = socket.create_connection(("127.0.0.1", self._target))
            except OSError:
                _reset(client)
                client.close()
                continue
            with self._lock:
                self._sockets |= {client, server}
            pumps = [threading.Thread(target=self._pump, args=way, daemon=True)
                     for way in ((client, server, TO_SERVER), (server, client, TO_CLIENT))]
            for pump in pumps:
                pump.start()
            threading.Thread(target=self._forget, args=(pumps, client, server), daemon=True).start()

    def _forget(self, pumps, *ends):
        for pump in pumps:
            pump.join()
        with self._lock:
            self._sockets -= set(ends)
            for end in ends:
                end.close()

    def _pump(self, source, sink, direction):
        with contextlib.suppress(OSError):
            while piece := source.recv(PIECE):
                if self._delay:
                    self._mended.wait(self._delay)
                if direction in self._swallowed:
                    continue
                if direction == TO_CLIENT and self._cuts.is_set():
                    self._cuts.clear()
                    sink.sendall(piece[:len(piece) // 2])
                    break
                sink.sendall(piece)
        for end in (source, sink):
            _reset(end)


def _reset(end):
    """The other side hears of it at once, and so does whoever reads or writes here."""
    with contextlib.suppress(OSError):
        end.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        end.shutdown(socket.SHUT_RDWR)
