"""Submissions: from the client's request to the rows that the rest of the farm reads."""

import json
import re
import unittest

from quillon import ROOT, Service

DEFAULT_QUEUE = "c52a7f6e-c32a-45da-8716-c06c79af3a98"


class Submissions(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.service = Service()
        cls.addClassCleanup(cls.service.close)
        cls.service.wait_for_start()

    def test_the_documented_request_is_stored_and_announced_when_the_answer_arrives(self):
        request = json.loads((ROOT / "examples/submitTranscode.json").read_text())
        carried_in_the_program = (ROOT / "resources/IDR_TRANSCODE_HD.json").read_text()
        self.assertEqual(request["JobParams"], json.loads(carried_in_the_program))
        status, headers, body = self.service.post("/submitTranscode", request)
        job, event = self.service.job(json.loads(body)["clientKey"]), self.service.events()[-1]
        key = job["recordID"]
        self.assertEqual((status, headers["Content-Type"], body),
                         (200, "application/json", '{"clientKey":"%s"}' % key))
        self.assertEqual((job["recordType"], job["recordVersion"], job["name"], job["tags"]),
                         ("Job", 1, "Transcode", "[]"))
        private, public = json.loads(job["recordData"]), json.loads(job["recordPublicData"])
        self.assertEqual((public["jobQueue"], public["priority"], public["createdBy"]), (DEFAULT_QUEUE, 50, ""))
        self.assertEqual(json.loads(private["jobBlueprintData"]), request["JobParams"])
        processing, run_case = (json.loads(private[name]) for name in ("processingData", "jobRunCaseData"))
        directory = processing["metadataDirectory"]
        self.assertTrue(directory.endswith(key), directory)
        carried = dict(request, processingControlDirectoryPath=directory, metadataDirectory=directory)
        self.assertEqual(processing, carried)
        self.assertEqual(run_case, dict(carried, JobParams={}))
        self.assertEqual((event["recordType"], event["recordTopic"]), ("JobCreated", "V2_WFJobEvents"))
        self.assertEqual(event["recordData"], '{"id":"%s","jobQueue":"%s"}' % (key, DEFAULT_QUEUE))
        self.assertNotEqual(event["recordID"], key)

    def test_every_documented_path_and_a_name(self):
        table = [line for line in (ROOT / "README.md").read_text().splitlines() if line.startswith("| `/")]
        addresses = re.findall(r"`(/\w+)`", " ".join(table)) + ["/messages/SubmitMixdown"]
        kinds = set()
        for address in addresses:
            with self.subTest(address):
                job = self.service.job(self.service.submit(address, {"jobParams": {"a": 1}}))
                private, public = json.loads(job["recordData"]), json.loads(job["recordPublicData"])
                kinds.add((public["jobKind"], private["jobEvalTaskKind"], job["name"]))
                self.assertEqual(private["failJobOnFirstFailedTask"], job["name"] != "ProxyCreation")
                self.assertEqual(private["jobBlueprintData"], '{"a":1}')
        self.assertEqual(len(kinds), len(addresses) - 1)

    def test_what_the_client_sends_arrives_as_it_was_sent(self):
        raw = '{"z":1.0,"a":[1e400,null,{"b":[]}],"n":9007199254740993,"u":"\\u00e9\\ud83d\\ude00","priority":7,'
        job = self.service.job(self.service.submit("/submitExport?priority=101&description=%22007%22",
                                                   (raw + '"priority":8}').encode()))
        data = json.loads(job["recordData"])["processingData"]
        self.assertTrue(data.startswith('{"z":1.0,"a":[1e400,null,{"b":[]}],"n":9007199254740993,"u":"é😀"'), data)
        self.assertEqual((json.loads(job["recordPublicData"])["priority"], job["description"]), (100, "007"))


if __name__ == "__main__":
    unittest.main()
