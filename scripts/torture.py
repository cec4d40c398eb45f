"""Kills and stops the service under load, over and over, and looks at what it has kept.

In short rounds a part of the tests, in long ones what scripts/torture.sh runs.
"""

import argparse
import collections
import contextlib
import http.client
import json
import pathlib
import random
import shutil
import signal
import subprocess
import threading
import time

from quillon import DEADLINE_SECONDS, Service, wait_until

STOP_SECONDS = 10  # what a stop may take
JSON = {"Content-Type": "application/json"}
WITHOUT_FARM = {"farm": {"enabled": False}}
ROUNDS_PER_STORE = 10  # the store is looked at as a whole in each round
NOISE = "noise"


def request_of(marker):
    """The same for the same marker, so that nobody has to remember it."""
    dice = random.Random(marker)
    size = dice.choice((0, 0, 10, 10, 300, 300, 2000, 9000))
    return {"description": marker, "priority": dice.randint(1, 100), "text": "é\n\"" * (size // 3),
            "jobParams": {"number": dice.randint(0, 2**60)}}


class Journal:
    """What the clients of a store were told, by the marker that each of their requests carries."""

    def __init__(self):
        self.answered, self.refused, self.lost = {}, set(), set()

    def check(self, service, purged=False):
        """What was answered is there once, whole and announced once; what was refused is not there. Gives the requests
        without an answer that left a job all the same. `purged`: jobs of the noise come and go."""
        jobs = {}
        for job in service.jobs():
            marker = job["description"]
            if marker == NOISE:
                continue
            assert marker not in jobs, "%s is there twice" % marker
            jobs[marker] = job["recordID"]
            json.loads(job["recordPublicData"])
            body = json.loads(json.loads(job["recordData"])["processingData"])
            directories = (body.pop("metadataDirectory"), body.pop("processingControlDirectoryPath"))
            assert body == request_of(marker) and all(job["recordID"] in name for name in directories), body
        announced = collections.Counter(json.loads(event["recordData"])["id"] for event in service.events())
        assert service.repeats_events or max(announced.values(), default=1) == 1, "an event is there twice"
        assert announced.keys() >= set(jobs.values()), "a job without its event"
        assert purged or announced.keys() <= set(jobs.values()), "an event without its job"
        for marker, key in self.answered.items():
            assert jobs.get(marker) == key, "%s was answered, and is gone" % marker
        left = jobs.keys() - self.answered.keys()
        assert left <= self.lost, "refused, and there: %s" % (left - self.lost)
        service.check_integrity()
        return left


class Load:
    """Clients that submit over connections of their own, each until its connection ends."""

    def __init__(self, service, journal, name, connections):
        self._port, self._journal, self._name = service.port, journal, name
        self._before = len(journal.answered)
        self._clients = [threading.Thread(target=self._submit, args=(n,)) for n in range(connections)]
        for client in self._clients:
            client.start()

    def _submit(self, client):
        connection = http.client.HTTPConnection("127.0.0.1", self._port, timeout=DEADLINE_SECONDS)
        count = 0
        while True:
            marker = "%s-%d-%d" % (self._name, client, count)
            request, count = request_of(marker), count + 1
            if count % 9 == 0:
                request["jobParams"]["profile"] = "nobody"  # which is refused
            try:
                connection.request("POST", "/submitTranscode", json.dumps(request), JSON)
                response = connection.getresponse()
                body = json.loads(response.read())
            except (OSError, http.client.HTTPException):
                self._journal.lost.add(marker)
                break
            if response.status == 200:
                self._journal.answered[marker] = body["clientKey"]
            else:
                self._journal.refused.add(marker)
        connection.close()

    def wait_for(self, answers):
        wait_until(lambda: len(self._journal.answered) - self._before >= answers, "answer")

    def join(self):
        for client in self._clients:
            client.join()


@contextlib.contextmanager
def kept_if_it_fails(service):
    try:
        yield
    except BaseException:
        place = pathlib.Path("torture-failed")
        shutil.rmtree(place, ignore_errors=True)
        service.process.kill()
        service.process.wait()
        shutil.copytree(service.directory, place)
        print("What there was lies in %s." % place.resolve())
        raise
    finally:
        service.close()


def kill(rounds, tell=lambda _: None):
    """SIGKILL at random moments, now and then while it starts; the next round starts it anew and looks."""
    dice, done, answered = random.Random(), 0, 0
    while done < rounds:
        with_farm = dice.random() < 0.2
        service, journal = Service(settings={} if with_farm else WITHOUT_FARM), Journal()
        with kept_if_it_fails(service):
            for n in range(min(ROUNDS_PER_STORE, rounds - done)):
                if n > 0 and dice.random() < 0.2:
                    time.sleep(dice.uniform(0, 0.05))
                    service.end(signal.SIGKILL)
                    service.start()
                load = Load(service, journal, "kill%d" % n, connections=8)
                load.wait_for(1)
                time.sleep(dice.uniform(0, 0.2))
                assert service.end(signal.SIGKILL) == -signal.SIGKILL
                load.join()
                service.start()
                service.wait_for_start()
                journal.check(service)
                done += 1
            answered += len(journal.answered)
            tell("%d kills: all of %d jobs answered are there" % (done, answered))
            assert service.end() == 0


def make_noise(port, done):
    """Purges of jobs, settings for the coordinator and the workers: each is at work when it has its answer already."""
    count = 0
    while not done.is_set():
        count += 1
        for path, body in (("submitMixdown", {"description": NOISE}),
                           ("messages/RemoveObsoleteJobs", {"CreationDate": "2099-01-01T00:00:00",
                                                            "kind": "orvik.quillon.mixdown"}),
                           ("remoteLogging", {"turnOnRemoteLogging": count % 2 == 0}),
                           ("configureDX", {"connectionURL": "tcp://dx.example:%d" % count})):
            with contextlib.suppress(OSError, http.client.HTTPException):
                connection = http.client.HTTPConnection("127.0.0.1", port, timeout=DEADLINE_SECONDS)
                with contextlib.closing(connection):
                    connection.request("POST", "/" + path, json.dumps(body), JSON)
                    connection.getresponse().read()


def stop(rounds, tell=lambda _: None):
    """SIGTERM under 64 connections: a job is stored and announced if its client has the answer, and not otherwise."""
    answered, slowest = 0, 0.0
    for n in range(rounds):
        service, journal, done = Service(settings={"farm": {"taskMilliseconds": 1}}), Journal(), threading.Event()
        with kept_if_it_fails(service):
            noise = [threading.Thread(target=make_noise, args=(service.port, done)) for _ in range(3)]
            for maker in noise:
                maker.start()
            load = Load(service, journal, "stop", connections=64)
            load.wait_for(64)
            time.sleep(random.uniform(0, 0.3))
            begin = time.monotonic()
            service.process.send_signal(signal.SIGTERM)
            try:
                code = service.process.wait(STOP_SECONDS)
            except subprocess.TimeoutExpired:
                raise AssertionError("still there after %d seconds" % STOP_SECONDS) from None
            finally:
                done.set()
            slowest = max(slowest, time.monotonic() - begin)
            for thread in (load, *noise):
                thread.join()
            assert code == 0 and "Sanitizer" not in service.errors, "%d: %s" % (code, service.errors)
            service.start()
            service.wait_for_start()
            left = journal.check(service, purged=True)
            assert not left, "there without an answer: %s" % left
            answered += len(journal.answered)
            tell("%d stops: all of %d jobs answered are there and no other; the slowest took %.2f s" %
                 (n + 1, answered, slowest))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("kills", nargs="?", type=int, help="how often to kill it; 1000, unless --stops is given")
    parser.add_argument("--stops", type=int, help="how often to stop it under load")
    arguments = parser.parse_args()
    if arguments.kills is None and arguments.stops is None:
        arguments.kills = 1000
    for torture, rounds in ((kill, arguments.kills), (stop, arguments.stops)):
        if rounds:
            torture(rounds, lambda text: print(text, end="\r", flush=True))
            print()


if __name__ == "__main__":
    main()
