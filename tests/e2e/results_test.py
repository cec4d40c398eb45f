"""Results of queries: what other programs store, as clients get it."""

import concurrent.futures
import json
import os
import pathlib
import unittest
import urllib.parse

from quillon import IN_CLUSTER, deploy, wait_until

FORMAT = json.dumps({
    "RasterSize": {"Width": 1920, "Height": 1080}, "Progressive": True, "ChromaSampling": "422", "BitsPerComponent": 10,
    "ColorSpace": "x", "FrameRate": {"Numerator": 25, "Denominator": 1}, "CompressionFamily": "f", "EncodingName": "e",
    "Compressed": True, "Preset": "p", "FileFormat": "é", "SampleRate": 48000, "BitsPerSample": 24})
MANY = 240 if IN_CLUSTER else 3000  # the stand-in for MongoDB deletes some hundreds a second
# Path of the find message: collection and type of the records, and the answer to an unknown id.
KINDS = {
    "findVideoFormats": ("V2_WFVideoFormats", "VideoFormat", '{"status":"FAILED"}'),
    "findAudioFormats": ("V2_WFAudioFormats", "AudioFormat", '{"status":"FAILED"}'),
    "findExportTypes": ("V2_WFExportTypes", "ExportType", '{"status":"FAILED"}'),
    "findSourceAvailability": ("V2_WFSourceAvailabilities", "SourceAvailability", '{"results":[]}'),
    "findMobIDsFromContainer": ("V2_WFMobIDs", "MobID", '{"results":[]}'),
    "findSuitableMasters": ("V2_WFMasterMobDescs", "MasterMobDesc", '{"masterMobDescs":[]}'),
}


class Results(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.service = deploy(settings={"farm": {"enabled": False}})
        cls.addClassCleanup(cls.service.close)
        cls.service.wait_for_start()

    def get(self, path, **query):
        status, _, body = self.service.post("/%s?%s" % (path, urllib.parse.urlencode(query)), b"", method="GET")
        return status, body

    def store(self, path, query_id, documents):
        topic, kind, _ = KINDS[path]
        self.service.insert([(kind, topic, document, json.dumps({"queryID": query_id})) for document in documents])

    def test_a_status_says_who_is_to_blame(self):
        for method, path, body, status, field in (
                ("GET", "/findVideoFormats", {}, 400, "queryID"), ("GET", "/findMobIDsFromContainer", {}, 400, "queryID"),
                ("POST", "/submitProxyCreation", {"jobParams": {"profile": "unknown"}}, 422, "profile"),
                ("GET", "/formats/video", {}, 503, None), ("DELETE", "/jobs/any", {}, 503, None)):
            with self.subTest(path):
                answered, headers, text = self.service.post(path, body, method=method)
                error = json.loads(text)["error"]
                self.assertEqual((answered, error["code"]), (status, "GENERIC_SERVICE_ERROR"))
                self.assertEqual(error.get("details", {}).get("field"), field)
                self.assertEqual("retry-after" in headers, status == 503)

    def test_a_look_at_the_head_takes_nothing_away(self):
        self.store("findExportTypes", "head", ['{"a":1}'])
        with self.service.connect(b"HEAD /findExportTypes?queryID=head HTTP/1.1\r\nHost: localhost\r\n"
                                  b"Connection: close\r\n\r\n") as connection:
            self.assertTrue(connection.makefile("rb").read().startswith(b"HTTP/1.1 204 "))
        self.assertIn('"FoundExportTypes":1', self.get("findExportTypes", queryID="head")[1])

    def test_export_types_come_once_each_and_in_their_order(self):
        self.store("findExportTypes", "q", ['{"b":1,"a":2}', '{"a":[1.0]}', '{"b":1,"a":2}', '{"a":2,"b":1}'])
        types = '[{"a":2,"b":1},{"a":[1.0]},{"b":1,"a":2}]'
        self.assertEqual(self.get("findExportTypes", queryID="q"),
                         (200, '{"ExportTypesList":%s,"FoundExportTypes":3,"status":"COMPLETED"}' % types))

    def test_fetches_at_once_have_all_results_or_none(self):
        documents = [FORMAT.replace("{", '{"n":%d,' % n, 1) for n in range(MANY)]
        for path, (topic, _, unknown) in KINDS.items():
            everything = 60 if path == "findVideoFormats" else len(documents)
            with self.subTest(path), concurrent.futures.ThreadPoolExecutor(4) as clients:
                self.assertEqual(self.get(path, queryID="at once"), (200, unknown))
                self.store(path, "at once", documents)
                answers = list(clients.map(lambda _: self.get(path, queryID="at once", PageOffset=MANY // 60 - 1), range(12)))
                self.assertEqual({status for status, _ in answers}, {200})
                found = [max(body.count('"Preset"'), body.count('"SampleRate"'))
                         for _, body in answers if body != unknown]
                self.assertEqual(set(found), {everything})
                if unknown == '{"status":"FAILED"}':
                    self.assertEqual(len(found), 1, "formats are taken in one step")
                self.assertEqual(self.service.records(topic), [])

    @unittest.skipIf(IN_CLUSTER, "The stand-in for MongoDB stands still over records that large.")
    def test_what_a_huge_answer_took_goes_back(self):
        process = pathlib.Path("/proc/%d" % self.service.process.pid)
        if "san.so" in (process / "maps").read_text():
            self.skipTest("A sanitizer keeps memory.")

        def resident():
            return int((process / "statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")

        self.service.submit("/submitTranscode", {})
        before = resident()
        self.store("findMobIDsFromContainer", "huge", 700 * [json.dumps([{"a": 1}] * 1000)])
        status, body = self.get("findMobIDsFromContainer", queryID="huge")
        self.assertEqual((status, len(json.loads(body)["results"])), (200, 700))
        wait_until(lambda: resident() < before + 50_000_000, "memory given back")


if __name__ == "__main__":
    unittest.main()
