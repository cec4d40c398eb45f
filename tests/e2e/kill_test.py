"""Death and end of the process under load, at random moments and at chosen places; few rounds of what
scripts/torture.sh does at length."""

import mmap
import signal
import unittest

import torture
from quillon import BINARY, Service

# How many jobs are left of the submission that does not come past this place.
PLACES = {"between-record-and-event": 0, "before-group-commit": 0, "after-group-commit": 1, "before-answer": 1}


def has_failpoints():
    with open(BINARY, "rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as program:
        return program.find(b"QUILLON_FAILPOINT\0") >= 0


class Torture(unittest.TestCase):
    def test_kills_at_random_moments(self):
        torture.kill(10)

    def test_stops_under_load(self):
        torture.stop(3)

    @unittest.skipUnless(has_failpoints(), "a build without QUILLON_FAILPOINTS")
    def test_kills_at_chosen_places(self):
        for place, jobs in PLACES.items():
            for name, connections in ((place + ":4", 1), (place + ":40", 8)):
                with self.subTest(name, connections=connections):
                    service, journal = Service(settings=torture.WITHOUT_FARM,
                                               launcher=("env", "QUILLON_FAILPOINT=" + name)), torture.Journal()
                    self.addCleanup(service.close)
                    torture.Load(service, journal, "place", connections).join()
                    self.assertEqual(service.exit_code(), -signal.SIGKILL)
                    service.launcher = ()
                    service.start()
                    service.wait_for_start()
                    left = journal.check(service)
                    self.assertLessEqual(len(left), connections)
                    if connections == 1:
                        self.assertEqual((len(journal.answered), len(left)), (3, jobs))
                    self.assertEqual(service.end(), 0)


if __name__ == "__main__":
    unittest.main()
