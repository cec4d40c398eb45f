"""The results of large queries, stored by another program; a fetch reads them all, gives one page and deletes them."""

import contextlib
import json
import sqlite3
import statistics
import sys

from service import arguments, running

_FORMATS, _PAGE = 10_000, 60
_VIDEO_FORMAT = json.dumps({
    "RasterSize": {"Width": 1920, "Height": 1080}, "Progressive": True, "ChromaSampling": "422",
    "BitsPerComponent": 10, "ColorSpace": "0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395",
    "FrameRate": {"Numerator": 60000, "Denominator": 1001}, "MaxGOPLength": 1, "MaxBitRate": 440, "AvgBitRate": 440,
    "CompressionFamily": "Ravex HQX", "EncodingName": "Ravex HQX", "Compressed": True, "LegacyVCID": 1242,
    "Preset": "ravex/hr/1271/422"}, separators=(",", ":"))


def _store_results(store, query_id):
    """As docs/store.md has it for a program beside the service."""
    with contextlib.closing(sqlite3.connect(store, isolation_level=None, timeout=10)) as database:
        database.execute("PRAGMA wal_autocheckpoint = 0")
        database.execute("BEGIN IMMEDIATE")
        database.executemany(
            "INSERT INTO records (recordType, recordTopic, recordData, recordPublicData) VALUES (?, ?, ?, ?)",
            [("VideoFormat", "V2_WFVideoFormats", _VIDEO_FORMAT, json.dumps({"queryID": query_id}))] * _FORMATS)
        database.execute("COMMIT")


def measure(build, directory, rounds):
    """Milliseconds for the first and for the last page: the medians of some queries, each fetched once."""
    store, last = directory / "find.db", (_FORMATS - 1) // _PAGE
    times = {"first": [], "last": []}
    with running(arguments(build, directory, store), directory / "output") as service:
        for number in range(rounds):
            for name, offset in (("first", 0), ("last", last)):
                query = "%s-%d" % (name, number)
                _store_results(store, query)
                answer, milliseconds = service.ask(
                    "GET", "/findVideoFormats?queryID=%s&PageOffset=%d&PageSize=%d" % (query, offset, _PAGE))
                if len(answer["FormatsList"]) != min(_PAGE, _FORMATS - offset * _PAGE):
                    sys.exit("not a page of formats: %.200s" % answer)
                times[name].append(milliseconds)
    return {name: {"time": statistics.median(list_), "slowest": max(list_)} for name, list_ in times.items()}
