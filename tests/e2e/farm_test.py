"""The local farm: what becomes of a job."""

import json
import signal
import unittest
import urllib.parse

from quillon import ROOT, deploy, wait_until

MOBS = {"InputMobIDs": ["mob-1", "mob-2"]}


def farm(task_milliseconds, **more):
    return {"farm": dict(more, enabled=True, taskMilliseconds=task_milliseconds)}


class Farm(unittest.TestCase):
    def start(self, settings):
        service = deploy(settings=settings)
        self.addCleanup(service.close)
        service.wait_for_start()
        return service

    def ask(self, service, path, body=None, method="POST"):
        status, _, text = service.post(path, body or {}, method=method)
        self.assertEqual(status, 200, "%s: %s" % (path, text))
        return json.loads(text)

    def listed(self, service):
        """The jobs that `findJobsEx` lists, by client key."""
        return {job["clientKey"]: job for job in self.ask(service, "/findJobsEx", {"limit": 1000}).get("results", [])}

    def wait_for_status(self, service, key, status):
        wait_until(lambda: self.listed(service).get(key, {}).get("status") == status, "%s of %s" % (status, key))

    def test_a_transcode_is_seen_at_work_and_is_removed_when_it_is_done(self):
        service = self.start(farm(2000))
        request = json.loads((ROOT / "examples/submitTranscode.json").read_text())
        self.assertEqual(request["JobParams"], json.loads((ROOT / "resources/IDR_TRANSCODE_HD.json").read_text()))
        key = service.submit("/submitTranscode", request)
        status, _, refused = service.post("/jobs/" + key, {}, method="DELETE")
        self.assertEqual(status, 409)
        self.assertRegex(refused, '"Found job had invalid status for deletion: (Created|Readied|Evaluated|Tasked)"')
        wait_until(lambda: key in self.listed(service), "job in the list")
        seen, at_work = [], set()

        def look_until_it_is_done():
            job = self.listed(service)[key]
            seen.append(job["progress"])
            workers = self.ask(service, "/workerPoolStatus", method="GET")["results"]["WorkerPoolInfo"]["Workers"]
            self.assertEqual(len(workers), 2)  # the pool shows those of media
            at_work.update(row["Status"] for row in workers if row["TaskType"] == "Transcode")
            return job["status"] == "Completed"

        wait_until(look_until_it_is_done, "end of the transcode")
        self.assertEqual((seen, seen[-1]), (sorted(seen), 100))
        self.assertTrue(set(seen) & set(range(10, 100, 10)), seen)
        self.assertEqual(len(at_work), 1, at_work)
        self.assertEqual(self.ask(service, "/jobs/" + key, method="DELETE"), {})
        self.assertEqual((self.listed(service), service.jobs()), ({}, []))

    # Submission, request, find message, key of its list, number of results, a piece of the first of them.
    QUERIES = [
        ("submitVideoFormatsQuery", {"LegacyVCID": 4073}, "findVideoFormats", "FormatsList", 1,
         {"EncodingName": "XDCAM HD 50Mbits"}),
        ("submitAudioFormatsQuery", {"SampleRate": 48000, "BitsPerSample": 24}, "findAudioFormats", "FormatsList", 2,
         {"SampleRate": 48000, "BitsPerSample": 24}),
        ("submitExportQuery", {"name": "MXF OP1a"}, "findExportTypes", "ExportTypesList", 1, {"type": "LXA"}),
        ("submitSourceAvailabilityQuery", MOBS, "findSourceAvailability", "results", 2, {"InputMobID": "mob-1"}),
        ("submitMobIDsFromContainerQuery", {"CompositionMetadataFilePath": "C:\\a.aaf"}, "findMobIDsFromContainer",
         "results", 3, {}),
        ("submitSuitableMastersQuery", MOBS, "findSuitableMasters", "masterMobDescs", 2, {"InputMobID": "mob-1"}),
    ]

    def test_each_query_is_answered_by_its_find_message_and_only_once(self):
        service = self.start(farm(0))
        for submission, request, find, name, count, piece in self.QUERIES:
            with self.subTest(submission):
                key = service.submit("/" + submission, request)
                self.wait_for_status(service, key, "Completed")
                found = self.ask(service, "/%s?queryID=%s" % (find, key), method="GET")[name]
                self.assertEqual(len(found), count)
                self.assertEqual(found[0], dict(found[0], **piece))
                self.assertFalse(self.ask(service, "/%s?queryID=%s" % (find, key), method="GET").get(name))

    # Path, method, criteria, key of the list, number that the criteria find.
    CATALOGUES = [
        ("formats/video", "GET", {"RasterWidth": 1280, "Progressive": "true", "CompressionFamily": "Ravex HQX"},
         "FormatsList", 1),
        ("formats/audio", "GET", {"TarvaleCompression": "Uncompressed PCM 24 bit", "SampleRate": 96000},
         "FormatsList", 2),
        ("getExportTypes", "POST", {"GUID": "d49f75ba49654cfa9d11cd87206287e0"}, "ExportTypesList", 1),
        ("getMediaCreationTypes", "GET", {"name": "Transcode"}, "MediaCreationTypesList", 1),
        ("getColorSpaces", "GET", {"Name": "Rec.709 [video levels]", "BitDepth": 10}, "ColorSpacesList", 1),
        ("s3dmodes", "GET", {"S3DMode": "Monoscopic"}, "S3DModesList", 1),
    ]

    def test_each_catalogue_with_and_without_criteria(self):
        service = self.start(farm(0))
        for path, method, criteria, name, count in self.CATALOGUES:
            with self.subTest(path):
                everything = self.ask(service, "/" + path, method=method)
                query = "?" + urllib.parse.urlencode(criteria) if method == "GET" else ""
                chosen = self.ask(service, "/" + path + query, None if query else criteria, method=method)
                self.assertEqual((len(chosen[name]), chosen["Found" + name.removesuffix("List")]), (count, count))
                self.assertIn(chosen[name][0], everything[name])
                self.assertGreater(len(everything[name]), count)

    def test_settings_and_logging_arrive(self):
        service = self.start(farm(0))
        self.assertEqual(self.ask(service, "/configureDX", {"connectionURL": "tcp://dx.example:61717"}),
                         {"status": "propagating"})
        wait_until(lambda: "tcp://dx.example:61717" in service.errors, "word of the configuration")
        for switch, word in ((True, "on"), (False, "off")):
            self.ask(service, "/remoteLogging", {"turnOnRemoteLogging": switch})
            for worker in ("metadata", "media"):
                line = "orvik.quillon.processing.%s.worker: remote logging is %s" % (worker, word)
                wait_until(lambda line=line: line in service.errors, line)

    def test_catalogues_of_ones_own(self):
        service = deploy(settings=farm(0, catalogueDirectory="mine"))
        self.addCleanup(service.close)
        self.assertEqual(service.exit_code(), 254)
        self.assertIn('The catalogue directory "mine" is not there.', service.errors)
        (service.directory / "mine").mkdir()
        (service.directory / "mine/S3DModes.json").write_text('[{"S3DMode": "Anaglyph"}]')
        service.start()
        self.assertEqual(self.ask(service, "/s3dmodes", method="GET"),
                         {"S3DModesList": [{"S3DMode": "Anaglyph"}], "FoundS3DModes": 1})

    def check_rerun(self, service, keys):
        """What was not done comes to its end after the next start, at once."""
        service.write_settings(farm(0))
        service.start()
        for key in keys:
            self.wait_for_status(service, key, "Completed")

    def test_all_jobs_are_carried_out_once_across_a_sudden_end(self):
        service = self.start(farm(20))
        queries = [service.submit("/submitVideoFormatsQuery", {"CompressionFamily": "Ravex HQX"}) for _ in range(20)]
        media = [service.submit("/submitMixdown", {}) for _ in range(20)]

        def ended():
            return {job["recordID"]: job["recordPublicData"] for job in service.jobs()
                    if '"Completed"' in job["recordPublicData"]}

        wait_until(lambda: len(ended()) >= 10, "the first ten jobs")
        service.end(signal.SIGKILL)
        before = ended()
        self.check_rerun(service, [*queries, *media])
        after = ended()
        self.assertEqual(before, {key: after[key] for key in before})
        for key in queries:
            found = self.ask(service, "/findVideoFormats?queryID=" + key, method="GET")
            self.assertEqual(found["FoundFormats"], 3)

    def test_a_stop_does_not_wait_for_tasks_and_the_next_start_takes_them_up(self):
        service = self.start(farm(600000))
        keys = [service.submit(path, {}) for path in ("/submitRender", "/submitVideoFormatsQuery")]
        for key, state in zip(keys, ("Readied", "Tasked")):
            self.wait_for_status(service, key, state)
        self.assertEqual(service.end(), 0)
        self.check_rerun(service, keys)


if __name__ == "__main__":
    unittest.main()
