"""The program as a console process: what it prints, how it ends, and why it does not start."""

import signal
import socket
import sqlite3
import stat
import unittest

from quillon import BINARY, SERVICE_NAME, Service

STARTUP_FAILED = "\nScheduler Service main pSchedulerService->Startup() failed"
STORE_FAILED = "\nServiceBase::Startup() ObjectStoreService::InitObjectStore() failed"
BUS_FAILED = "\nServiceBase::Startup() m_pMessagingService->Initialize() failed with error: "
STORE_APPLICATION = 0x51535354


class Start(unittest.TestCase):
    def start(self, *options, **settings):
        service = Service(*options, **settings)
        self.addCleanup(service.close)
        return service

    def test_without_arguments_prints_its_defaults_and_keeps_its_store_at_home(self):
        service = self.start(store=False, environment={"zrf_port": "0", "ZRF_realm": "no", "zrf_Realm": "no"})
        service.wait_for_start()
        parameters = [("deploy", "standalone"), ("eventMaxPollingTimeoutMs", "2000"), ("host", "localhost"),
                      ("jobmanagerservicename", "orvik.job.monitor"), ("kafka-host", ""), ("kafka-port", "9092"),
                      ("loglevel", "info"),
                      ("metadatarootpath", "%PUBLIC%/OrvikQuillonService/MetadataRootPath"), ("mongo-db", "wf"),
                      ("mongo-uri", "********"), ("port", "0"), ("realm", "test"), ("service", SERVICE_NAME)]
        expected = "\nExecutable: %s\n\nEnvironment variables listing skipped.\n\nStartup Parameters:\n%s\n" % (
            BINARY, "".join("\t%s = %s\n" % parameter for parameter in parameters))
        self.assertEqual(service.end(), 0)
        self.assertEqual(service.output, expected)
        store = service.directory / "OrvikQuillonService/Store/wf_test_2_3_12.db"
        self.assertEqual(stat.S_IMODE(store.stat().st_mode), 0o600)
        self.assertEqual(stat.S_IMODE(store.parent.stat().st_mode), 0o700)

    def test_options_that_start(self):
        rows = [
            ("unknown option", ["--nonsense=1", "word"], signal.SIGTERM, "\trealm = test\n"),
            ("command line before environment", ["--realm=global"], signal.SIGINT, "\trealm = global\n"),
            ("a version of its own", ["--version=7", "--enableOldHALPrototype=true"], signal.SIGTERM, ""),
        ]
        for name, options, ending, printed in rows:
            with self.subTest(name):
                service = self.start(*options, environment={"zrf_realm": "test", "zrf_mongo-db": "other"})
                service.wait_for_start()
                self.assertEqual(service.end(ending), 0)
                self.assertIn(printed, service.output)
                self.assertNotIn(str(service.store), service.output)

    def test_refusals(self):
        taken = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(taken.close)
        port = taken.getsockname()[1]
        rows = [
            ("other service", ["--service=other"],
             "\nServiceBase::Startup() m_ServiceInfo.m_Name is NOT == " + SERVICE_NAME, ""),
            ("other deployment", ["--deploy=nowhere"],
             "\nServiceBase::Startup() InitializeDeploymentMode() failed", ""),
            ("no number", ["--version=abc"], "\nServiceBase::Startup() m_ServiceInfo.m_Name is empty()", ""),
            ("unknown store", ["--mongo-uri=x"], STORE_FAILED, "mongo-uri"),
            ("store under a file", ["--mongo-uri=sqlite:out/deeper/store.db"], STORE_FAILED, "out/deeper"),
            ("no database", ["--mongo-uri=sqlite:{text}"], STORE_FAILED, "{text}"),
            ("database of another program", ["--mongo-uri=sqlite:{foreign}"], STORE_FAILED, "{foreign}"),
            ("newer layout", ["--mongo-uri=sqlite:{newer}"], STORE_FAILED, "999"),
            ("port in use", ["--host=127.0.0.1", "--port=%d" % port], BUS_FAILED, str(port)),
            ("port is no number", ["--port=nine"], BUS_FAILED, "nine"),
            ("open to the network", ["--host=0.0.0.0"], BUS_FAILED, "callers"),
            ("settings not there", ["--config=absent.json"], BUS_FAILED, "absent.json"),
            ("unknown setting", ["--config={unknown}"], BUS_FAILED, "colour"),
        ]
        files = self.start(store=False).directory
        (files / "text").write_text("no database at all, but long enough to hold a header\n" * 100)
        (files / "unknown").write_text('{"rest": {"colour": 1}}')
        with sqlite3.connect(files / "newer") as database:
            database.executescript("CREATE TABLE t(x); PRAGMA user_version = 999; PRAGMA application_id = %d"
                                   % STORE_APPLICATION)
        with sqlite3.connect(files / "foreign") as database:
            database.executescript("CREATE TABLE t(x)")
        paths = {name: str(files / name) for name in ("text", "newer", "foreign", "unknown")}
        for name, options, printed, reason in rows:
            with self.subTest(name):
                service = self.start(*[option.format(**paths) for option in options])
                self.assertEqual(service.exit_code(), 254)
                self.assertIn(printed, service.output)
                self.assertFalse(service.output.endswith("\n"))
                self.assertIn(STARTUP_FAILED, service.errors)
                self.assertIn(reason.format(**paths), service.errors)
        with self.subTest("no such event log"):
            service = self.start("--kafka-host=x")
            self.assertEqual(service.exit_code(), 102)
            self.assertIn("\nMESS: exception has occurred - This build has no Kafka event log", service.output)
            self.assertIn("kafka-host names 'x'", service.errors)


if __name__ == "__main__":
    unittest.main()
