"""Requests that are refused: each gets its status and a readable error, and leaves no trace."""

import json
import unittest

from quillon import Service

PATH = "/submitTranscode"
BODY_LIMIT = 300_000
POST = b"POST /submitTranscode HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
CHUNKED = POST + b"Transfer-Encoding: chunked\r\n"


class BadInput(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.service = Service(settings={"rest": {"maxBodyBytes": BODY_LIMIT}})
        cls.addClassCleanup(cls.service.close)
        cls.service.wait_for_start()

    def check(self, name, status, send):
        with self.subTest(name):
            before = self.service.job_count()
            answered, headers, body = send()
            self.assertEqual(answered, status, body)
            self.assertEqual(headers["Content-Type"], "application/json")
            error = json.loads(body)["error"]
            self.assertTrue(error["code"] and error["message"], body)
            self.assertEqual(self.service.job_count(), before)
            self.service.submit(PATH, {})
            self.assertEqual(self.service.job_count(), before + 1)

    def test_bodies_and_addresses(self):
        rows = [
            ("not JSON", 400, PATH, b'{"priority": ', {}),
            ("broken UTF-8", 400, PATH, b'{"description": "\xc3\x28"}', {}),
            ("deep nesting", 400, PATH, b'{"a":' + b"[" * 100_000 + b"]" * 100_000 + b"}", {}),
            ("over the limit", 413, PATH, b'{"a":"' + b"x" * BODY_LIMIT + b'"}', {}),
            ("unknown path", 404, "/submitTranscoding", b"{}", {}),
            ("wrong method", 405, PATH, b"{}", {"method": "PUT"}),
            ("foreign origin", 403, PATH, b"{}", {"headers": "Origin: http://elsewhere.example\r\n"}),
        ]
        for name, status, path, body, more in rows:
            self.check(name, status, lambda: self.service.post(path, body, **more))

    def test_framing(self):
        rows = [
            ("length and chunks", 400, CHUNKED + b"Content-Length: 2\r\n\r\n2\r\n{}\r\n0\r\n\r\n"),
            ("a request for a trailer", 400, CHUNKED + b"\r\n2\r\n{}\r\n0\r\nGET /profiles HTTP/1.1\r\n\r\n"),
            ("headers over the limit", 431, POST + b"X-Note: " + b"x" * 200_000 + b"\r\n\r\n"),
        ]
        for name, status, raw in rows:
            self.check(name, status, lambda: self.service.exchange(raw))


if __name__ == "__main__":
    unittest.main()
