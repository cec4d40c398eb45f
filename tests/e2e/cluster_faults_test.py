"""What a cluster does when an engine dies, stops, goes silent or comes late; each story ends with `check_jobs`."""

import concurrent.futures
import json
import signal
import unittest

import torture
from cluster import FARM, PACE, Clients, Story
from engines import wait_until
from proxy import TO_CLIENT, TO_SERVER


class KafkaAway(Story):
    def tearDown(self):
        kafka = self.cluster.engines.kafka
        if kafka.process.poll() is not None:
            kafka.restart()

    def test_jobs_are_taken_meanwhile_and_one_relay_announces_what_the_dead_left(self):
        first, second = self.start(2)
        self.submit("before", 10)
        self.cluster.wait_until_announced()
        self.cluster.engines.kafka.kill()
        announced = len(self.cluster.events())
        self.submit("away", 40)
        pending = self.cluster.number_pending()
        self.assertGreaterEqual(pending, 40)
        # With them goes whoever held the lease, and what they were about to announce.
        for scheduler in (first, second):
            scheduler.end(signal.SIGKILL)
        self.cluster.engines.kafka.start()
        for scheduler in (first, second, self.cluster.start()):
            if scheduler.process.poll() is not None:
                scheduler.start()
        self.cluster.engines.kafka.wait_until_ready()
        self.cluster.wait_until_announced()
        # A second relay would have sent them too.
        self.assertEqual(len(self.cluster.events()), announced + pending)
        self.check()

    def test_a_broker_that_stands_still_past_its_limit(self):
        scheduler, _ = self.start(2)
        kafka = self.cluster.engines.kafka
        kafka.pause()
        try:
            self.submit("still", 20)
            wait_until(lambda: "do not reach the event log" in scheduler.errors, "word of the log")
        finally:
            kafka.resume()
        self.submit("again", 10)
        self.check()


class MongoAway(Story):
    # Far from what a caller waits, so that the error is the store's.
    SETTINGS = dict(FARM, store={"timeoutMs": 2000}, threads=4)

    def test_a_database_that_is_away_slow_or_cut_off(self):
        scheduler, = self.start(1, self.SETTINGS)
        proxy, mongo = self.cluster.proxy, self.cluster.engines.mongo
        faults = [("silent", lambda: proxy.swallow(TO_CLIENT), proxy.mend),
                  ("deaf", lambda: proxy.swallow(TO_SERVER), proxy.mend),
                  ("too slow", lambda: proxy.delay(3), proxy.mend),
                  ("dead", mongo.kill, mongo.restart)]
        for name, break_it, mend_it in faults:
            with self.subTest(name):
                self.submit(name, 5)
                break_it()
                try:
                    self.submit_in_vain(scheduler, name)
                finally:
                    mend_it()
                self.submit(name + " no more", 5)
        clients = Clients(self.cluster, self.journal, "cut")
        for _ in range(5):
            clients.wait_for_more(5)
            proxy.cut()
        clients.stop()
        self.check()

    def test_requests_that_wait_for_the_store_hold_up_no_others(self):
        scheduler, = self.start(1, dict(self.SETTINGS, store={"timeoutMs": 5000}))
        self.cluster.proxy.swallow(TO_CLIENT)
        with concurrent.futures.ThreadPoolExecutor(32) as pool:
            waiting = [pool.submit(self.submit_in_vain, scheduler, "waiting%d" % n) for n in range(32)]
            for _ in range(20):
                self.assertEqual(self.ask(scheduler, "/formats/video")[0], 200)
            self.assertFalse(any(request.done() for request in waiting))
            for request in waiting:
                request.result()
        self.cluster.proxy.mend()
        self.check()


class BusAway(Story):
    def tearDown(self):
        nats = self.cluster.engines.nats
        if nats.process.poll() is not None:
            nats.restart()

    def wait_for_catalogue(self, scheduler):
        wait_until(lambda: self.ask(scheduler, "/formats/video")[0] == 200, "catalogue")

    def test_of_a_slow_consumer_and_of_a_bus_that_goes_and_comes_back_under_load(self):
        farm, other = self.start(2)
        nats = self.cluster.engines.nats
        self.wait_for_catalogue(other)
        self.cluster.targets = [other.port]
        clients = Clients(self.cluster, self.journal, "bus", pace=PACE)
        with concurrent.futures.ThreadPoolExecutor(12) as pool:
            farm.process.send_signal(signal.SIGSTOP)
            try:
                # More than lies between the server and a program that does not read.
                large = {"text": 3_000_000 * "x"}
                waiting = [pool.submit(self.ask, other, "/getExportTypes", large, "POST") for _ in range(12)]
                wait_until(lambda: "Slow Consumer" in (nats.directory / "output").read_text(), "slow consumer")
                clients.wait_for_more(10)
            finally:
                farm.process.send_signal(signal.SIGCONT)
            # What had come as far as the program is answered late; what the server dropped is not.
            statuses = {request.result()[0] for request in waiting}
            self.assertTrue(statuses & {500, 503} and statuses <= {200, 500, 503}, statuses)
        self.wait_for_catalogue(other)

        nats.kill()
        wait_until(lambda: self.ask(other, "/formats/video")[0] == 503, "word of the bus")
        for path, method in (("/formats/video", "GET"), ("/submitMixdown", "POST")):
            status, headers, answer = self.ask(other, path, {}, method)
            self.assertEqual((status, "Retry-After" in headers), (503, True), answer)
        nats.restart()
        self.wait_for_catalogue(other)
        clients.wait_for_more(10)
        clients.stop()
        self.check()


if __name__ == "__main__":
    unittest.main()
