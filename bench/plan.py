"""The rows of the table, and what is wanted of each."""

import statistics

from table import Row, Wanted

FRESH, LARGE = "fresh", "large"
CONNECTIONS = (1, 64, 512)


def _at_least(bound, of=None):
    return Wanted(bound, of)


def _at_most(bound, of=None):
    return Wanted(bound, of, at_least=False)


def _submissions(store, title, wanted):
    """A rate and its slow answers for each number of connections; the worst round counts for the latter."""
    for connections in CONNECTIONS:
        name = "%s-%d" % (store, connections)
        label = "submissions, %d connection%s, %s" % (connections, "s" * (connections > 1), title)
        yield Row(label, name, "rate", "/s", wanted[connections])
        yield Row("  99 of 100 answered in", name, "p99", "ms",
                  (_at_most(12),) if (store, connections) == (FRESH, 64) else (), max)


def _turns():
    """Of another build, and of this one beside it; only where another build was named."""
    for connections in (1, 64):
        label = "in turns, %d connection%s, " % (connections, "s" * (connections > 1))
        for name, title, of in (("beside", "the other build", None), ("here", "this build", "beside-%d" % connections)):
            name = "%s-%d" % (name, connections)
            yield Row(label + title, name, "rate", "/s", (Wanted(None, of + ".rate"),) if of else (), statistics.median)
            yield Row("  processor time a job", name, "cpu_us", "us", (Wanted(None, of + ".cpu_us"),) if of else (),
                      statistics.median)


def _hostile():
    yield Row("honest submissions, 16 connections, 99 of 100 in", "hostile-0", "p99", "ms")
    for number, bound in ((1, 2), (32, 4)):
        yield Row("  beside %d of refused 4 MiB bodies" % number, "hostile-%d" % number, "p99", "ms",
                  (_at_most(bound, "hostile-0.p99"),))
    for name, title in (("parallel", "64 worst bodies at once"), ("unfinished", "4,096 unfinished bodies"),
                        ("waiting", "64 worst bodies while the store waits")):
        yield Row("memory, peak, " + title, "memory-" + name, "mb", "MB", (_at_most(400),))
        yield Row("  above idle two seconds later", "memory-" + name, "left_mb", "MB", (_at_most(50),))


def cluster_rows():
    """Of many machines; the engines' own rates first, so that what is theirs is seen. A job is two writes in the
    database: the record with its event, and the event's end."""
    alone = (("nats", 1, "NATS, request and reply, one caller"), ("nats", 64, None),
             ("kafka", 1, "Kafka, acknowledged events, one caller"), ("kafka", 64, None),
             ("mongo", 1, "stand-in for MongoDB, upserts, one client"), ("mongo", 16, None))
    for kind, callers, title in alone:
        name = "%s-%d" % (kind, callers)
        yield Row("limit: " + title if title else "  from %d" % callers, name, "rate", "/s")
    for schedulers in (1, 2, 3):
        name = "schedulers-%d" % schedulers
        yield Row("submissions through %d scheduler%s" % (schedulers, "s" * (schedulers > 1)), name, "rate", "/s",
                  (Wanted(None, "mongo-16.rate"),))
        yield Row("  99 of 100 answered in", name, "p99", "ms", (), max)
    for connections in (1, 64):
        label = "in turns, %d connection%s, " % (connections, "s" * (connections > 1))
        own, other = "cluster-%d" % connections, "embedded-%d" % connections
        yield Row(label + "embedded store", other, "rate", "/s", (), statistics.median)
        yield Row("  processor time a job", other, "cpu_us", "us", (), statistics.median)
        yield Row(label + "a database that costs nothing", own, "rate", "/s", (), statistics.median)
        yield Row("  processor time a job", own, "cpu_us", "us", (_at_most(1.3, other + ".cpu_us"),), statistics.median)
        yield Row("  of its jobs announced by then", own, "announced", "%", (), statistics.median)


def rows(jobs):
    large = "store of {:,} jobs".format(jobs)
    kept = {connections: (_at_least(0.9, "%s-%d.rate" % (FRESH, connections)),) for connections in CONNECTIONS}
    return [
        Row("limit: disk, syncs of 4 KB appends, before", "disk-before", "rate", "/s"),
        Row("limit: disk, beside one connection", "disk", "rate", "/s"),
        Row("limit: disk, after", "disk-after", "rate", "/s"),
        Row("limit: HTTP, nginx, fixed answer", "http", "rate", "/s"),
        Row("  99 of 100 answered in", "http", "p99", "ms", (), max),
        Row("peer: database, PostgreSQL", "database-usual", "rate", "/s"),
        Row("  99 of 100 answered in", "database-usual", "p99", "ms", (), max),
        Row("  all in one statement", "database-terse", "rate", "/s"),
        Row("peer: queue, beanstalkd", "queue", "rate", "/s"),
        Row("  99 of 100 answered in", "queue", "p99", "ms", (), max),
        Row("peer: values in a log, Redis without HTTP", "values", "rate", "/s"),
        Row("  99 of 100 answered in", "values", "p99", "ms", (), max),
        *_submissions(FRESH, "fresh store", {
            1: (_at_least(0.6, "disk.rate"),),
            64: (_at_least(4.5, "database-usual.rate"), _at_least(4, "queue.rate"), _at_least(1.2, "values.rate"),
                 _at_least(0.28, "http.rate")),
            512: (_at_least(1, "fresh-64.rate"),)}),
        *_submissions(LARGE, large, kept),
        *_turns(),
        *_hostile(),
        Row("catalogue messages, 64 connections", "catalogue", "rate", "/s", (_at_least(0.4, "http.rate"),)),
        Row("  99 of 100 answered in", "catalogue", "p99", "ms", (), max),
        Row("find, first page of 10,000 formats", "find-first", "time", "ms", (_at_most(60),), statistics.median),
        Row("find, last page of 10,000 formats", "find-last", "time", "ms", (_at_most(60),), statistics.median),
        Row("listing, first page, " + large + ", 99 of 100 in", "listing-first", "p99", "ms", (_at_most(10),), max),
        Row("listing, tenth page, " + large + ", 99 of 100 in", "listing-tenth", "p99", "ms", (_at_most(8),), max),
        Row("  index of jobs, made by the service", "listing-index", "time", "s", (_at_most(15),)),
        Row("start to first answer, " + large, "footprint", "time", "ms", (_at_most(300),)),
        Row("memory, idle, " + large, "footprint", "idle_mb", "MB", (_at_most(40),)),
        Row("memory, peak, fresh store, 512 connections", "fresh-512", "peak_mb", "MB", (_at_most(150),), max),
        Row("memory, peak, " + large + ", 512 connections", "large-512", "peak_mb", "MB", (_at_most(150),), max),
        Row("memory, peak, listing and making the index", "listing-peak", "mb", "MB", (_at_most(150),)),
        Row("texts of a job's record", "bytes", "texts", "bytes"),
        Row("store file for each job, event included", "bytes", "job", "bytes", (_at_most(0.4, "bytes.texts"),)),
        Row("texts of a job's record, bodies of a client's own", "bytes-own", "texts", "bytes"),
        Row("store file for each job, event included", "bytes-own", "job", "bytes", (_at_most(0.6, "bytes-own.texts"),)),
    ]
