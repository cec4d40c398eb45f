"""Results of queries, catalogues and listings: what other programs store, as clients get it."""

import concurrent.futures
import json
import unittest
import urllib.parse

from quillon import Service

VIDEO = ('{"RasterSize":{"Width":1920,"Height":1080},"Progressive":true,"ChromaSampling":"422","BitsPerComponent":10,'
         '"ColorSpace":"x","FrameRate":{"Numerator":25,"Denominator":1},"MaxBitRate":100,"CompressionFamily":"f",'
         '"EncodingName":"e","Compressed":true,"Preset":"p"}')
VIDEO_BACKWARDS = json.dumps(dict(reversed(json.loads(VIDEO).items())))
AUDIO = '{"FileFormat":"é","SampleRate":48000,"BitsPerSample":24}'
BOTH = VIDEO[:-1] + "," + AUDIO[1:]
PAGE = '{"FormatsList":[%s],"FoundFormats":%d,"PageOffset":%d,"PageSize":%d}'
FAILED = '{"status":"FAILED"}'

# Path of the find message: path of the submission, collection and type of the records, answer to an unknown id,
# documents that a worker might store, and the answer that they make.
KINDS = {
    "findVideoFormats": ("submitVideoFormatsQuery", "V2_WFVideoFormats", "VideoFormat", FAILED,
                         [VIDEO_BACKWARDS, VIDEO], PAGE % (VIDEO + "," + VIDEO, 2, 0, 60)),
    "findAudioFormats": ("submitAudioFormatsQuery", "V2_WFAudioFormats", "AudioFormat", FAILED,
                         [AUDIO, AUDIO], '{"FormatsList":[%s,%s],"FoundFormats":2}' % (AUDIO, AUDIO)),
    "findExportTypes": ("submitExportQuery", "V2_WFExportTypes", "ExportType", FAILED,
                        ['{"b":1,"a":2}', '{"a":[1.0]}', '{"b":1,"a":2}', '{"a":2,"b":1}'],
                        '{"ExportTypesList":[{"a":2,"b":1},{"a":[1.0]},{"b":1,"a":2}],"FoundExportTypes":3,'
                        '"status":"COMPLETED"}'),
    "findSourceAvailability": ("submitSourceAvailabilityQuery", "V2_WFSourceAvailabilities", "SourceAvailability",
                               '{"results":[]}', ['{"z":1e400,"a":[]}', "[1]", ""],
                               '{"results":[{"z":1e400,"a":[]},[1],{}]}'),
    "findMobIDsFromContainer": ("submitMobIDsFromContainerQuery", "V2_WFMobIDs", "MobID", '{"results":[]}',
                                ['{"b":"é"}', "{}", '{"b":"é"}'], '{"results":[{"b":"é"},{},{"b":"é"}]}'),
    "findSuitableMasters": ("submitSuitableMastersQuery", "V2_WFMasterMobDescs", "MasterMobDesc",
                            '{"masterMobDescs":[]}', ['{"m":true}'], '{"masterMobDescs":[{"m":true}]}'),
}


class Results(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.service = Service(settings={"farm": {"enabled": False}})
        cls.addClassCleanup(cls.service.close)
        cls.service.wait_for_start()

    def get(self, path, **query):
        status, _, body = self.service.post("/%s?%s" % (path, urllib.parse.urlencode(query)), b"", method="GET")
        return status, body

    def store(self, path, query_id, documents):
        topic, kind = KINDS[path][1:3]
        self.service.write(("INSERT INTO records (recordType, recordTopic, recordData, recordPublicData)"
                            " VALUES (?, ?, ?, ?)",
                            [(kind, topic, document, json.dumps({"queryID": query_id})) for document in documents]))

    def check_none_left(self, path):
        self.assertEqual(self.service.query("SELECT 1 FROM records WHERE recordTopic = ?", KINDS[path][1]), [])

    def test_a_query_is_submitted_and_its_results_are_fetched_once(self):
        for path, (submission, _, _, unknown, documents, answer) in KINDS.items():
            with self.subTest(path):
                key = self.service.submit("/" + submission, {"any": "criteria"})
                self.assertEqual(self.get(path, queryID=key), (200, unknown))
                self.store(path, key, documents)
                self.assertEqual(self.get(path, queryID=key), (200, answer))
                self.assertEqual(self.get(path, queryID=key), (200, unknown))
                self.check_none_left(path)

    def test_fetches_at_once_have_all_results_or_none(self):
        documents = [BOTH.replace("{", '{"n":%d,' % n, 1) for n in range(3000)]
        for path, (_, _, _, unknown, _, _) in KINDS.items():
            everything = 60 if path == "findVideoFormats" else len(documents)
            with self.subTest(path), concurrent.futures.ThreadPoolExecutor(4) as clients:
                self.store(path, "at once", documents)
                answers = list(clients.map(lambda _, at=path: self.get(at, queryID="at once", PageOffset=49), range(12)))
                self.assertEqual({status for status, _ in answers}, {200})
                found = {max(body.count('"Preset"'), body.count('"SampleRate"')) if body != unknown else None
                         for _, body in answers}
                self.assertIn(found, ({everything}, {everything, None}))
                self.check_none_left(path)


if __name__ == "__main__":
    unittest.main()
