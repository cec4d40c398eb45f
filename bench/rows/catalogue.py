"""A catalogue message through the bus to a worker and back."""

from load import drive
from service import running


def measure(build, directory, connections, seconds):
    with running([build / "bench/bin/CatalogueService"], directory / "output") as service:
        url = service.url + "/formats/video?LegacyVCID=1242"
        drive(url, connections, 1)
        return drive(url, connections, seconds)
