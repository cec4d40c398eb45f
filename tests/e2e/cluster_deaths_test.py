"""What a cluster does when a scheduler or a farm of it dies or stands still; each story ends with `check_jobs`."""

import os
import random
import signal
import time
import unittest

from cluster import PACE, Clients, Story
from engines import wait_until
from quillon import has_failpoints

KILL_SECONDS = float(os.environ.get("QUILLON_KILL_SECONDS", "5"))


class Deaths(Story):
    @unittest.skipUnless(has_failpoints(), "a build without QUILLON_FAILPOINTS")
    def test_between_the_record_its_event_and_the_note_that_it_is_announced(self):
        self.start(1)
        for place in ("before-held-answers", "before-announcing", "after-announcing"):
            doomed = self.cluster.start(launcher=("env", "QUILLON_FAILPOINT=%s:4" % place))
            self.cluster.targets.append(doomed.port)
            clients = Clients(self.cluster, self.journal, place)
            self.assertEqual(doomed.exit_code(), -signal.SIGKILL)
            clients.wait_for_more(10)
            clients.stop()
            self.cluster.targets.pop()
        self.check()

    def start_again(self, scheduler):
        """As a supervisor does: a database that is too busy for the questions of a start ends that."""
        scheduler.start()
        while not scheduler.is_listening():
            if scheduler.process.poll() is not None:
                self.assertIn("The database of mongo-uri cannot be used", scheduler.errors)
                scheduler.start()
            time.sleep(0.05)
        return scheduler.port

    def test_of_one_of_three_over_and_over(self):
        schedulers = self.start(3, farms=3)
        clients = Clients(self.cluster, self.journal, "kill", connections=6,
                          pace=PACE * max(1, KILL_SECONDS / 5))  # the farm has to do them all in the end
        end = time.monotonic() + KILL_SECONDS
        while time.monotonic() < end:
            clients.wait_for_more(5)
            place = random.randrange(3)
            schedulers[place].end(signal.SIGKILL)
            self.cluster.targets[place] = self.start_again(schedulers[place])
            time.sleep(1)
        clients.stop()
        self.check()
        print("%d jobs answered" % len(self.journal.answered))


class TwoFarms(Story):
    def test_the_one_that_was_stopped_past_its_lease_changes_nothing_when_it_goes_on(self):
        settings = {"farm": {"enabled": True, "taskMilliseconds": 100}}
        first, = self.start(1, settings)
        second = self.cluster.start(settings=settings)
        self.cluster.targets = [second.port]
        clients = Clients(self.cluster, self.journal, "farms", pace=PACE)
        clients.wait_for_more(10)
        first.process.send_signal(signal.SIGSTOP)
        try:
            done = self.cluster.number_done()
            clients.wait_for_more(20)
            wait_until(lambda: self.cluster.number_done() > done + 10, "work of the second farm")
        finally:
            first.process.send_signal(signal.SIGCONT)
        clients.stop()
        self.check()


if __name__ == "__main__":
    unittest.main()
