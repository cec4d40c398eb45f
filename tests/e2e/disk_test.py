"""A disk that is full, fails to write or fails to keep: who is told what, what goes on, what is there then."""

import json
import os
import pathlib
import resource
import subprocess
import sys
import tempfile
import unittest

from quillon import Service, wait_until
from torture import WITHOUT_FARM, Journal, request_of

OWN_MOUNTS = "QUILLON_TEST_OWN_MOUNTS"
FAILING_SYNC = os.environ.get("QUILLON_FAILING_SYNC")
REFUSAL = {"code": "GENERIC_SERVICE_ERROR", "message": "Transcode - upsert record into Object Store failed"}
BROKEN = "refuses all writes until the service is started anew"


class Disk(unittest.TestCase):
    def start(self, *launcher, **more):
        self.journal, self.count = Journal(), 0
        self.service = Service(settings=WITHOUT_FARM, launcher=launcher, **more)
        self.addCleanup(self.service.close)
        self.service.wait_for_start()

    def submit(self, times, in_doubt=False):
        """How many of them were taken; all others get the one refusal."""
        taken = 0
        for self.count in range(self.count + 1, self.count + times + 1):
            marker = "disk-%d" % self.count
            status, _, body = self.service.post("/submitTranscode", request_of(marker))
            if status == 200:
                self.journal.answered[marker] = json.loads(body)["clientKey"]
                taken += 1
            else:
                self.assertEqual((status, json.loads(body)["error"]), (500, REFUSAL))
                (self.journal.lost if in_doubt else self.journal.refused).add(marker)
        return taken

    def check_reads(self):
        for path in ("/profiles", "/uniqueExportPlugins", "/findVideoFormats?queryID=nobody"):
            status, _, body = self.service.post(path, b"", method="GET")
            self.assertEqual(status, 200, body)

    def check_end(self):
        self.journal.check(self.service)
        self.assertEqual(self.service.end(), 0)
        self.service.launcher = ()
        self.service.start()
        self.service.wait_for_start()
        self.journal.check(self.service)
        self.assertEqual(self.submit(5), 5)

    @unittest.skipUnless(OWN_MOUNTS in os.environ, "no file system can be mounted here; the others stand for it")
    def test_a_full_disk_passes(self):
        disk = pathlib.Path(tempfile.mkdtemp(prefix="quillon-disk-"))
        self.addCleanup(disk.rmdir)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4m", "tmpfs", str(disk)], check=True)
        self.addCleanup(subprocess.run, ["umount", str(disk)], check=True)
        self.start(store=False, environment={"zrf_mongo-uri": "sqlite:%s" % (disk / "store.db")})
        self.service.store = disk / "store.db"
        self.assertEqual(self.submit(5), 5)
        filling = disk / "filling"
        filling.write_bytes(bytes(os.statvfs(disk).f_bavail * os.statvfs(disk).f_bsize - 300_000))
        self.assertLess(self.submit(200), 200)
        self.check_reads()
        self.assertIn("disk is full", self.service.errors)
        self.journal.check(self.service)
        filling.unlink()
        self.assertEqual(self.submit(20), 20)
        self.check_end()

    def test_a_write_that_fails_passes(self):
        self.start("env", "--ignore-signal=XFSZ")
        self.assertEqual(self.submit(5), 5)
        limit = resource.prlimit(self.service.process.pid, resource.RLIMIT_FSIZE)
        resource.prlimit(self.service.process.pid, resource.RLIMIT_FSIZE, (8192, limit[1]))
        self.assertEqual(self.submit(20), 0)
        self.check_reads()
        self.assertIn("disk I/O error", self.service.errors)
        resource.prlimit(self.service.process.pid, resource.RLIMIT_FSIZE, limit)
        self.assertEqual(self.submit(20), 20)
        self.check_end()

    @unittest.skipUnless(FAILING_SYNC, "syncs cannot be made to fail under a sanitizer")
    def test_a_failed_sync_ends_writing_until_the_service_is_started_anew(self):
        for file, busy in (("store.db-wal", False), ("store.db", False), ("store.db", True)):
            with self.subTest(file, busy=busy):
                self.start("env", "LD_PRELOAD=%s" % FAILING_SYNC, "QUILLON_SYNC_FAILS=failing")
                self.assertEqual(self.submit(5), 5)
                sign = self.service.directory / "failing" / file
                sign.parent.mkdir()
                sign.touch()
                if file == "store.db-wal":
                    self.assertEqual(self.submit(1, in_doubt=True), 0)  # on disk or not, nobody knows
                if busy:  # the database is synced beside the writers
                    wait_until(lambda: self.submit(100) < 100, "a submission that is refused")
                wait_until(lambda: BROKEN in self.service.errors, "word of the broken store")  # at the latest when idle
                sign.unlink()
                self.assertEqual(self.submit(20), 0)
                self.check_reads()
                self.assertEqual(self.service.errors.count(BROKEN), 1)
                self.check_end()
                self.assertIn("looking through all of it", self.service.errors)


if __name__ == "__main__":
    options = ["unshare", "--mount"] + ([] if os.geteuid() == 0 else ["--map-root-user"])
    if OWN_MOUNTS not in os.environ and subprocess.run([*options, "true"], stderr=subprocess.DEVNULL).returncode == 0:
        # What is mounted in a name space of our own goes with us, however we end.
        os.environ[OWN_MOUNTS] = "1"
        os.execvp(options[0], [*options, sys.executable, "-B", *sys.argv])
    unittest.main()
