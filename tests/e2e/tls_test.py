"""The gateway as its clients see it over TLS: who may call, how it ends; and what lies open on the disk."""

import hashlib
import http.client
import json
import os
import pathlib
import select
import signal
import socket
import ssl
import stat
import subprocess
import tempfile
import unittest
import warnings

from quillon import DEADLINE_SECONDS, Service, wait_until

GET = b"GET /profiles HTTP/1.1\r\nHost: localhost\r\n"
POST = b"POST /submitExport HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"


def make_certificate(directory, name, *key_options):
    """A key and a certificate of its own signature, as an operator makes them."""
    files = {"certificateFile": str(directory / (name + ".pem")), "privateKeyFile": str(directory / (name + ".key"))}
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-days", "2",
                    "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", *(key_options or ["-nodes"]),
                    "-keyout", files["privateKeyFile"], "-out", files["certificateFile"]],
                   check=True, capture_output=True)
    return files


def caller(name):
    return {"tokenSha256": hashlib.sha256(("token of " + name).encode()).hexdigest(), "identityId": "id-" + name,
            "displayName": name.title()}


class Gateway(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        temporary = tempfile.TemporaryDirectory(prefix="quillon-tls-")
        cls.addClassCleanup(temporary.cleanup)
        cls.directory = pathlib.Path(temporary.name)
        cls.files = make_certificate(cls.directory, "own")

    def start(self, *options, **settings):
        service = Service(*options, settings=settings or None)
        self.addCleanup(service.close)
        return service

    def context(self):
        return ssl.create_default_context(cafile=self.files["certificateFile"])

    def connect(self, service, ciphers=None, protocols=None, **versions):
        context = self.context()
        for name, version in versions.items():
            setattr(context, name, version)
        if ciphers:
            context.set_ciphers(ciphers)
        if protocols:
            context.set_alpn_protocols(protocols)
        plain = socket.create_connection(("127.0.0.1", service.port), DEADLINE_SECONDS)
        self.addCleanup(plain.close)
        secure = context.wrap_socket(plain, server_hostname="localhost", suppress_ragged_eofs=False)
        self.addCleanup(secure.close)
        return secure

    def test_only_what_is_sound_is_spoken(self):
        warnings.simplefilter("ignore", DeprecationWarning)  # that TLS 1.1 is too old is the point
        service = self.start(rest={"tls": self.files})
        v11, v12 = ssl.TLSVersion.TLSv1_1, ssl.TLSVersion.TLSv1_2
        spoken = [
            ("newest", {"protocols": ["h2", "http/1.1"]}, "TLSv1.3"),
            ("oldest", {"maximum_version": v12, "ciphers": "ECDHE-ECDSA-AES256-GCM-SHA384"}, "TLSv1.2"),
        ]
        refused = [
            ("old", {"minimum_version": v11, "maximum_version": v11, "ciphers": "ALL:@SECLEVEL=0"}, "protocol version"),
            ("unsealed", {"maximum_version": v12, "ciphers": "ECDHE-ECDSA-AES128-SHA256"}, "handshake failure"),
            ("HTTP/2 alone", {"protocols": ["h2"]}, "no application protocol"),
        ]
        for name, rules, version in spoken:
            with self.subTest(name):
                client = self.connect(service, **rules)
                self.assertEqual(client.version(), version)
                self.assertEqual(client.selected_alpn_protocol(), "http/1.1" if "protocols" in rules else None)
                self.assertFalse(client.compression() or client.session.has_ticket)
        for name, rules, alert in refused:
            with self.subTest(name), self.assertRaisesRegex(ssl.SSLError, "alert " + alert):  # the service's own word
                self.connect(service, **rules)
        with service.connect(GET + b"\r\n") as plain:
            self.assertNotIn(b"HTTP", plain.recv(4096))

    def begin_record(self, service):
        """A connection behind its handshake, and the bytes of one record that are yet to be sent."""
        plain = socket.create_connection(("127.0.0.1", service.port), DEADLINE_SECONDS)
        self.addCleanup(plain.close)
        come, go = ssl.MemoryBIO(), ssl.MemoryBIO()
        tls = self.context().wrap_bio(come, go, server_hostname="localhost")
        while True:
            try:
                tls.do_handshake()
                break
            except ssl.SSLWantReadError:
                plain.sendall(go.read())
                come.write(plain.recv(65536))
        tls.write(b"x" * 16384)
        record = go.read()
        plain.sendall(record[:1000])
        return plain, iter(record[1000:])

    def test_a_record_sent_byte_by_byte_has_its_time_limit(self):
        service = self.start(rest={"tls": self.files, "idleTimeoutMs": 100})
        open_ones = [self.begin_record(service) for _ in range(20)]

        def all_are_closed():
            for entry in list(open_ones):
                try:
                    entry[0].send(bytes([next(entry[1])]))
                except OSError:
                    open_ones.remove(entry)
            return not open_ones

        wait_until(all_are_closed, "end of a connection that is never done")

    def test_each_connection_has_its_end(self):
        service = self.start(rest={"tls": self.files, "requestTimeoutMs": 2000, "idleTimeoutMs": 500})
        silent = [service.connect(sent) for sent in (b"", b"\x16\x03\x01\x02\x00\x01")]  # half a handshake at most
        rows = [  # the last read is without an error: the end was told within TLS
            ("asked to", GET + b"Connection: close\r\n\r\n", b"HTTP/1.1 200", 1),
            ("two ahead", (GET + b"\r\n") * 2, b"HTTP/1.1 200", 2),
            ("nothing asked", b"", b"", 0),
            ("half a request", GET, b"HTTP/1.1 408", 1),
            ("refused", b"no HTTP\r\n\r\n" + b"x" * 100_000, b"HTTP/1.1 400", 1),
        ]
        for name, sent, answer, count in rows:
            with self.subTest(name):
                client = self.connect(service)
                client.sendall(sent)
                received = b"".join(iter(lambda: client.recv(65536), b""))
                self.assertEqual((received[:12], received.count(b"HTTP/1.1 ")), (answer, count))
        for connection in silent:
            with connection:
                self.assertEqual(connection.recv(4096), b"")
        self.connect(service).unwrap().close()  # waits for the service's goodbye
        waiting = self.connect(service)
        waiting.sendall(GET + b"\r\n")
        self.assertEqual(waiting.recv(4), b"HTTP")  # so the handshake is over for the service too
        self.assertEqual(service.end(), 0)
        while waiting.recv(65536):
            pass

    def test_slow_senders_are_told_so_and_make_room_for_the_next(self):
        service = self.start(rest={"tls": self.files, "requestTimeoutMs": 2000, "maxConnections": 1})
        for name, begin, more in (("head", POST + b"X-Note: ", b"x"),
                                  ("body", POST + b"Content-Length: 99999\r\n\r\n{\"a\":\"", b"x"),
                                  ("chunks", POST + b"Transfer-Encoding: chunked\r\n\r\n", b"1\r\nx\r\n")):
            with self.subTest(name), self.connect(service) as slow:
                slow.sendall(begin)
                while not select.select([slow], [], [], 0.05)[0]:
                    slow.sendall(more)
                self.assertEqual(slow.recv(12), b"HTTP/1.1 408")

    def test_files_and_callers_that_are_refused(self):
        tls, callers = self.files, [caller("ada")]
        other = make_certificate(self.directory, "other")
        locked = make_certificate(self.directory, "locked", "-passout", "pass:secret")
        rows = [
            ("no certificate there", {"tls": dict(tls, certificateFile="absent.pem")}, "absent.pem"),
            ("key in its place", {"tls": dict(tls, certificateFile=tls["privateKeyFile"])}, "holds no certificate"),
            ("no key there", {"tls": dict(tls, privateKeyFile=".")}, "\".\" is missing"),
            ("another's key", {"tls": dict(tls, privateKeyFile=other["privateKeyFile"])}, "holds no key"),
            ("locked key", {"tls": locked}, "password"),
            ("tokens in the clear", {}, "rest.behindProxy"),
            ("TLS", {"tls": tls}, None),
            ("a proxy", {"behindProxy": True}, None),
        ]
        for name, rest, reason in rows:
            with self.subTest(name):
                service = self.start("--host=0.0.0.0", rest=rest, callers=callers)
                if reason is None:
                    service.wait_for_start()
                    continue
                self.assertEqual(service.exit_code(), 254)
                self.assertIn(reason, service.errors)

    def hang_up(self, service, said, settings=None):
        if settings is not None:
            text = settings if isinstance(settings, str) else json.dumps(settings)
            (service.directory / "settings.json").write_text(text)
        before = service.errors.count("SIGHUP:")
        service.process.send_signal(signal.SIGHUP)
        wait_until(lambda: service.errors.count("SIGHUP:") > before, "word of SIGHUP")
        self.assertIn(said, service.errors.rpartition("SIGHUP:")[2].splitlines()[0])

    def test_callers_come_and_go_without_a_restart(self):
        settings = {"rest": {"tls": self.files}, "callers": [caller("ada"), caller("bob")]}
        service = self.start(**settings)
        connection = http.client.HTTPSConnection("localhost", service.port, timeout=30, context=self.context())
        self.addCleanup(connection.close)

        def ask(name, path="/submitExport", **request):
            """Over the same connection while it is let in, with the token of that name."""
            connection.request("POST", path, json.dumps(request), {"Content-Type": "application/json",
                                                                   "Authorization": "Bearer token of " + name})
            response = connection.getresponse()
            return response.status, json.loads(response.read())

        self.assertEqual([ask(name)[0] for name in ("ada", "bob", "eve")], [200, 200, 401])
        self.hang_up(service, "there are 2.", dict(settings, callers=[caller("bob"), caller("eve")]))
        status, answer = ask("eve", context={"identity": {"identityId": "id-bob"}}, description="x" * 200_000)
        self.assertEqual(status, 200)
        job = service.job(answer["clientKey"])
        self.assertEqual(json.loads(json.loads(job["recordData"])["identity"])["identityId"], "id-eve")
        self.assertEqual(json.loads(job["recordPublicData"])["createdBy"], "Eve")
        wait_until(lambda: ask("eve", "/findJobsEx")[1].get("results"), "her job in her list")
        self.assertNotIn(answer["clientKey"], json.dumps(ask("bob", "/findJobsEx")))
        for broken in ('{"callers": [', "", dict(settings, callers=[{"token": "token of ada"}]), {},
                       dict(settings, colour=1)):
            self.hang_up(service, "stay as they were", broken)
            self.assertEqual([ask(name)[0] for name in ("ada", "bob", "eve")], [401, 200, 200])
        self.assertNotIn("token of", service.errors + service.output)
        self.assertEqual(service.end(), 0)

    def test_what_is_stored_is_for_this_user_and_in_its_place(self):
        before = os.umask(0)
        try:
            service = Service(store=False)
        finally:
            os.umask(before)
        self.addCleanup(service.close)
        for root in ("../../../escape", str(service.directory / "made"), "\u0000", "%HOME%"):
            service.submit("/submitExport", {"rootPath": root, "CompoundJobID": "../../escape"})
        directory = service.directory / "OrvikQuillonService" / "Store"
        wait_until(lambda: list(directory.glob("wf_test_2_3_12.db.jobindex-wal")), "index of jobs")
        self.assertEqual({stat.S_IMODE(path.stat().st_mode) for path in directory.iterdir()}, {0o600})
        self.assertEqual([stat.S_IMODE(path.stat().st_mode) for path in (directory, directory.parent)], [0o700, 0o755])
        self.assertEqual({path.name for path in service.directory.iterdir()}, {"OrvikQuillonService", "err", "out"})
        self.assertEqual(list(directory.parent.iterdir()), [directory])


if __name__ == "__main__":
    unittest.main()
