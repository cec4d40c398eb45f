"""Clients that send by the byte, and answers that are huge: they end by their limits, and others are served."""

import http.client
import json
import os
import pathlib
import select
import unittest

from quillon import Service, wait_until

PATH = "/submitTranscode"
POST = b"POST /submitTranscode HTTP/1.1\r\nHost: localhost\r\n"
# One connection at a time: who comes next is served once the slow one is gone.
SETTINGS = {"rest": {"maxConnections": 1, "requestTimeoutMs": 500, "idleTimeoutMs": 500}, "farm": {"enabled": False}}


class SlowClients(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.service = Service(settings=SETTINGS)
        cls.addClassCleanup(cls.service.close)
        cls.service.wait_for_start()

    def test_slow_senders_are_told_so(self):
        body = b"Content-Type: application/json\r\nContent-Length: 99999\r\n\r\n{\"a\":\""
        chunks = b"Content-Type: application/json\r\nTransfer-Encoding: chunked\r\n\r\n"
        for name, begin, more in (("head", POST + b"X-Note: ", b"x"), ("body", POST + body, b"x"),
                                  ("chunks", POST + chunks, b"1\r\nx\r\n")):
            with self.subTest(name), self.service.connect(begin) as slow:
                while not select.select([slow], [], [], 0.05)[0]:
                    slow.sendall(more)
                response = http.client.HTTPResponse(slow)
                response.begin()
                self.assertEqual((response.status, response.headers["Connection"]), (408, "close"))
                response.read()
            self.service.submit(PATH, {})

    def test_what_a_huge_answer_took_goes_back(self):
        process = pathlib.Path("/proc/%d" % self.service.process.pid)
        if "san.so" in (process / "maps").read_text():
            self.skipTest("A sanitizer keeps memory.")

        def resident():
            return int((process / "statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")

        self.service.submit(PATH, {})
        before = resident()
        document = json.dumps([{"a": 1}] * 1000)
        self.service.write(("INSERT INTO records (recordType, recordTopic, recordData, recordPublicData)"
                            " VALUES ('MobID', 'V2_WFMobIDs', ?, ?)",
                            ((document, json.dumps({"queryID": "huge"})) for _ in range(700))))
        status, _, body = self.service.post("/findMobIDsFromContainer?queryID=huge", b"", method="GET")
        self.assertEqual((status, len(json.loads(body)["results"])), (200, 700))
        wait_until(lambda: resident() < before + 50_000_000, "memory given back")


if __name__ == "__main__":
    unittest.main()
