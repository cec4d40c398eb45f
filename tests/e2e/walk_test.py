"""The README's walk over what scripts/cluster.sh starts: asked of one scheduler, seen at the other."""

import concurrent.futures
import json
import pathlib
import re
import signal
import subprocess
import sys
import unittest
import urllib.request

from cluster import require_engines
from engines import ROOT
from quillon import DEADLINE_SECONDS, wait_until


class Walk(unittest.TestCase):
    def setUp(self):
        require_engines()
        self.program = subprocess.Popen([sys.executable, "-B", str(ROOT / "scripts/cluster.py"), "--port", "0"],
                                        stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.program.stdout.close)
        self.addCleanup(self.program.wait)
        self.addCleanup(self.program.kill)
        self.output = ""
        while "Ctrl-C" not in self.output:
            line = self.program.stdout.readline()
            self.assertTrue(line, self.output)
            self.output += line
        self.ports = re.findall(r"^Scheduler .*:(\d+)$", self.output, re.M)

    def ask(self, port, path, body=None, method=None):
        request = urllib.request.Request("http://localhost:%s/%s" % (port, path), method=method,
                                         data=None if body is None else json.dumps(body).encode(),
                                         headers={"Content-Type": "application/json"})
        with urllib.request.urlopen(request, timeout=DEADLINE_SECONDS) as response:
            return json.load(response)

    def jobs(self, port):
        return {job["id"]: job["status"] for job in self.ask(port, "findJobsEx", {"limit": 100}).get("results", [])}

    def test_what_one_takes_the_other_lists_and_removes(self):
        one, other = self.ports
        request = json.loads((ROOT / "examples/submitTranscode.json").read_text())
        keys = [self.ask(port, "submitTranscode", request)["clientKey"] for port in 4 * self.ports]
        for port in self.ports:
            wait_until(lambda port=port: self.jobs(port) == dict.fromkeys(keys, "Completed"), "end of the jobs")
        self.assertEqual(self.ask(other, "workerPoolStatus")["results"]["count"], 2)
        self.assertEqual(self.ask(other, "jobs/" + keys[0], method="DELETE"), {})
        self.assertEqual(set(self.jobs(one)), set(keys[1:]))
        self.ask(other, "messages/RemoveObsoleteJobs",
                 {"CreationDate": "2099-01-01T00:00:00", "kind": "orvik.quillon.transcode"})
        wait_until(lambda: not self.jobs(one), "end of the purge")
        key = self.ask(one, "submitVideoFormatsQuery", {"LegacyVCID": 4073})["clientKey"]
        wait_until(lambda: self.jobs(other).get(key) == "Completed", "end of the query")
        with concurrent.futures.ThreadPoolExecutor(8) as clients:
            answers = list(clients.map(lambda port: self.ask(port, "findVideoFormats?queryID=" + key), 4 * self.ports))
        self.assertEqual(sorted(answer.get("FoundFormats", 0) for answer in answers), 7 * [0] + [1])
        self.assertEqual(self.ask(other, "formats/audio?SampleRate=96000&BitsPerSample=24")["FoundFormats"], 2)
        self.assertEqual(self.ask(other, "configureDX", {"connectionURL": "tcp://dx.example:61717"}),
                         {"status": "propagating"})
        self.assertEqual(self.ask(other, "remoteLogging", {"turnOnRemoteLogging": True}), {})

        directory = pathlib.Path(re.search(r"lies in (\S+)\. ", self.output).group(1))
        children = pathlib.Path("/proc/%d/task/%d/children" % (2 * (self.program.pid,))).read_text().split()
        self.assertEqual((len(children), directory.is_dir()), (5, True))
        self.program.send_signal(signal.SIGINT)
        self.assertEqual(self.program.wait(DEADLINE_SECONDS), 0)
        self.assertFalse(directory.exists() or any(pathlib.Path("/proc", child).exists() for child in children))


if __name__ == "__main__":
    unittest.main()
