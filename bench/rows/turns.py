"""Two builds in turns, on fresh stores: what a change gives, whatever the machine does meanwhile."""

from load import drive
from processes import cpu_seconds
from service import PATH, arguments, running


def measure(build, directory, body, connections, seconds):
    with running(arguments(build, directory, directory / "store.db"), directory / "output") as service:
        drive(service.url + PATH, connections, 1, body)
        before = cpu_seconds(service.process)
        load = drive(service.url + PATH, connections, seconds, body)
        return dict(load, cpu_us=(cpu_seconds(service.process) - before) * 1e6 / load["requests"])
