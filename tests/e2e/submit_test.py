"""Submissions: from the client's request to the rows that the rest of the farm reads."""

import json
import unittest

from quillon import ROOT, Service

DEFAULT_QUEUE = "c52a7f6e-c32a-45da-8716-c06c79af3a98"


class Submissions(unittest.TestCase):
    def test_the_documented_request_is_stored_and_announced_when_the_answer_arrives(self):
        service = Service()
        self.addCleanup(service.close)
        request = json.loads((ROOT / "examples/submitTranscode.json").read_text())
        carried_in_the_program = (ROOT / "resources/IDR_TRANSCODE_HD.json").read_text()
        self.assertEqual(request["JobParams"], json.loads(carried_in_the_program))
        status, headers, body = service.post("/submitTranscode", request)
        job, event = service.job(json.loads(body)["clientKey"]), service.events()[-1]
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


if __name__ == "__main__":
    unittest.main()
