"""Death and end of the process under load, at random moments and at chosen places; few rounds of what
scripts/torture.sh does at length."""

import signal
import unittest

import torture
from quillon import Service, has_failpoints

# How many jobs are left of the submission that does not come past this place.
PLACES = {"between-record-and-event": 0, "before-group-commit": 0, "after-group-commit": 1, "before-answer": 1,
          "before-held-answers": None}  # where nobody else is at work no answer is held


class Torture(unittest.TestCase):
    def test_kills_at_random_moments(self):
        torture.kill(10)

    def test_stops_under_load(self):
        torture.stop(3)

    def test_the_layout_changes_as_a_whole(self):
        def layout():
            return service.query("SELECT user_version, (SELECT count(*) FROM sqlite_master WHERE name = 'dictionaries')"
                                 " FROM pragma_user_version")[0][:]

        service = Service(settings={"store": {"compression": "none"}, **torture.WITHOUT_FARM})
        self.addCleanup(service.close)
        keys = [service.submit("/submitTranscode", torture.request_of("old"))]
        self.assertEqual((service.end(), layout()), (0, (1, 0)))
        before = [row[:] for row in service.jobs()]
        (service.directory / "packing.json").write_text('{"farm": {"enabled": false}}')
        if has_failpoints():
            service.launcher = ("env", "QUILLON_FAILPOINT=amid-layout-change:1")
            service.start("--config=packing.json")
            self.assertEqual((service.exit_code(), layout()), (-signal.SIGKILL, (1, 0)))
            service.launcher = ()
        service.start("--config=packing.json")
        keys.append(service.submit("/submitTranscode", torture.request_of("new")))
        self.assertEqual((service.end(), layout()), (0, (2, 1)))
        service.start()
        service.wait_for_start()
        self.assertEqual(layout(), (2, 1))
        self.assertEqual([job["recordID"] for job in service.jobs()], keys)
        self.assertEqual([row[:] for row in service.jobs()][:1], before)

    @unittest.skipUnless(has_failpoints(), "a build without QUILLON_FAILPOINTS")
    def test_kills_at_chosen_places(self):
        for place, jobs in PLACES.items():
            for name, connections in ((place + ":4", 1), (place + ":40", 8)):
                if jobs is None and connections == 1:
                    continue
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
