"""The program as a console process: what it prints, how it ends, and why it does not start."""

import signal
import unittest

from quillon import BINARY, SERVICE_NAME, Service


class Start(unittest.TestCase):
    def start(self, *options, **settings):
        service = Service(*options, **settings)
        self.addCleanup(service.close)
        return service

    def test_without_arguments_prints_its_defaults(self):
        service = self.start(store=False, environment={"zrf_port": "0", "ZRF_realm": "no", "zrf_Realm": "no"})
        service.wait_for_start()
        parameters = [("deploy", "standalone"), ("eventMaxPollingTimeoutMs", "2000"), ("host", "localhost"),
                      ("jobmanagerservicename", "orvik.job.monitor"), ("kafka-host", ""), ("kafka-port", "9092"),
                      ("loglevel", "info"),
                      ("metadatarootpath", "%PUBLIC%/OrvikQuillonService/MetadataRootPath"), ("mongo-db", "wf"),
                      ("mongo-uri", "********"), ("port", "0"), ("realm", "test"), ("service", SERVICE_NAME)]
        expected = "\nExecutable: %s\n\nEnvironment variables listing skipped.\n\nStartup Parameters:\n%s\n" % (
            BINARY, "".join("\t%s = %s\n" % parameter for parameter in parameters))
        self.assertEqual(service.end(signal.SIGINT), 0)
        self.assertEqual(service.output, expected)

    def test_refusals(self):
        rows = [
            ("--service=other", "m_ServiceInfo.m_Name is NOT == " + SERVICE_NAME, ""),
            ("--deploy=nowhere", "InitializeDeploymentMode() failed", ""),
            ("--version=abc", "m_ServiceInfo.m_Name is empty()", ""),
            ("--mongo-uri=sqlite:out/deeper/store.db", "ObjectStoreService::InitObjectStore() failed", "out/deeper"),
            ("--deploy=distributed", "ObjectStoreService::InitObjectStore() failed", "mongodb+srv://"),
            ("--mongo-uri=mongodb://127.0.0.1:1", "ObjectStoreService::InitObjectStore() failed", "kafka-host"),
            ("--config=absent.json", "m_pMessagingService->Initialize() failed with error: ", "absent.json"),
        ]
        for option, printed, reason in rows:
            with self.subTest(option):
                service = self.start(option)
                self.assertEqual(service.exit_code(), 254)
                self.assertIn("\nServiceBase::Startup() " + printed, service.output)
                self.assertFalse(service.output.endswith("\n"))
                self.assertIn("\nScheduler Service main pSchedulerService->Startup() failed", service.errors)
                self.assertIn(reason, service.errors)


if __name__ == "__main__":
    unittest.main()
