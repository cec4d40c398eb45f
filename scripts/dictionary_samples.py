"""Writes the private JSON of jobs into files of a directory, each job in the states that it went through. The jobs are
those of the requests on standard input, one JSON object a line: path and body."""

import json
import pathlib
import sys

from quillon import Service, wait_until

TIMES = 10  # each request, so that what belongs to one job alone is not taken for what all have
FINAL = {"Completed", "Failed"}
HOME = "/home/quillon/.local/share"  # where services usually have their metadata


def without_profiles(tree):
    """The examples' own name a profile that is not there."""
    if isinstance(tree, dict):
        return {key: without_profiles(value) for key, value in tree.items() if key != "profile"}
    return tree


def main():
    requests = [json.loads(line) for line in sys.stdin]
    samples = set()

    def look(service):
        jobs = service.jobs()
        samples.update(job["recordData"].replace(str(service.directory), HOME) for job in jobs)
        return all(json.loads(job["recordPublicData"])["jobState"] in FINAL for job in jobs)

    service = Service(settings={"store": {"compression": "none"}, "farm": {"taskMilliseconds": 20}})
    try:
        for _ in range(TIMES):
            for request in requests:
                service.submit(request["path"], without_profiles(request["body"]))
            look(service)
        wait_until(lambda: look(service), "end of the jobs")
    finally:
        service.close()
    for number, sample in enumerate(sorted(samples)):
        (pathlib.Path(sys.argv[1]) / ("%06d" % number)).write_text(sample)


if __name__ == "__main__":
    main()
