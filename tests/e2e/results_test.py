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

# Path of the find message: path of the submission, collection and type of the records, answer to an unknown id.
KINDS = {
    "findVideoFormats": ("submitVideoFormatsQuery", "V2_WFVideoFormats", "VideoFormat", FAILED),
    "findAudioFormats": ("submitAudioFormatsQuery", "V2_WFAudioFormats", "AudioFormat", FAILED),
    "findExportTypes": ("submitExportQuery", "V2_WFExportTypes", "ExportType", FAILED),
    "findSourceAvailability": ("submitSourceAvailabilityQuery", "V2_WFSourceAvailabilities", "SourceAvailability",
                               '{"results":[]}'),
    "findMobIDsFromContainer": ("submitMobIDsFromContainerQuery", "V2_WFMobIDs", "MobID", '{"results":[]}'),
    "findSuitableMasters": ("submitSuitableMastersQuery", "V2_WFMasterMobDescs", "MasterMobDesc",
                            '{"masterMobDescs":[]}'),
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
        _, topic, kind, _ = KINDS[path]
        self.service.write(("INSERT INTO records (recordType, recordTopic, recordData, recordPublicData)"
                            " VALUES (?, ?, ?, ?)",
                            [(kind, topic, document, json.dumps({"queryID": query_id})) for document in documents]))

    def left(self, path, query_id):
        return len(self.service.query("SELECT 1 FROM records WHERE recordTopic = ? AND recordPublicData = ?",
                                      KINDS[path][1], json.dumps({"queryID": query_id})))

    def test_a_query_is_submitted_and_its_results_are_fetched_once(self):
        rows = [
            ("findVideoFormats", [VIDEO_BACKWARDS, VIDEO], PAGE % (VIDEO + "," + VIDEO, 2, 0, 60)),
            ("findAudioFormats", [AUDIO, AUDIO], '{"FormatsList":[%s,%s],"FoundFormats":2}' % (AUDIO, AUDIO)),
            ("findExportTypes", ['{"b":1}', '{"a":[1.0]}', '{"b":1}'],
             '{"ExportTypesList":[{"a":[1.0]},{"b":1}],"FoundExportTypes":2,"status":"COMPLETED"}'),
            ("findSourceAvailability", ['{"z":1e400,"a":[]}', "[1]", ""], '{"results":[{"z":1e400,"a":[]},[1],{}]}'),
            ("findMobIDsFromContainer", ['{"b":"é"}', "{}", '{"b":"é"}'], '{"results":[{"b":"é"},{},{"b":"é"}]}'),
            ("findSuitableMasters", ['{"m":true}'], '{"masterMobDescs":[{"m":true}]}'),
        ]
        self.assertEqual({row[0] for row in rows}, set(KINDS))
        for path, documents, answer in rows:
            with self.subTest(path):
                key = self.service.submit("/" + KINDS[path][0], {"any": "criteria"})
                unknown = (200, KINDS[path][3])
                self.assertEqual(self.get(path, queryID=key), unknown)
                self.store(path, key, documents)
                self.assertEqual(self.get(path, queryID=key), (200, answer))
                self.assertEqual(self.get(path, queryID=key), unknown)
                self.assertEqual(self.left(path, key), 0)
                self.assertEqual(self.service.job(key)["recordID"], key)

    def test_fetches_at_once_have_all_results_or_none(self):
        documents = [BOTH.replace("{", '{"n":%d,' % n, 1) for n in range(3000)]
        for path, (_, _, _, unknown) in KINDS.items():
            everything = 60 if path == "findVideoFormats" else len(documents)
            with self.subTest(path), concurrent.futures.ThreadPoolExecutor(4) as clients:
                self.store(path, "at once", documents)
                answers = list(clients.map(lambda _, path=path: self.get(path, queryID="at once", PageOffset=49),
                                           range(12)))
                self.assertEqual({status for status, _ in answers}, {200})
                found = {max(body.count('"Preset"'), body.count('"SampleRate"')) if body != unknown else None
                         for _, body in answers}
                self.assertIn(found, ({everything}, {everything, None}))
                self.assertEqual(self.left(path, "at once"), 0)


if __name__ == "__main__":
    unittest.main()
