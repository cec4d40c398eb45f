"""The rows of the result: what was measured, what it is compared with, what is wanted, and whether it is met."""

import dataclasses
import statistics


@dataclasses.dataclass(frozen=True)
class Wanted:
    """A bound of a row's value, or, where `of` names another row, of their ratio; without one the ratio is shown."""
    bound: float | None
    of: str = None
    at_least: bool = True

    def check(self, value, own, rounds):
        """None where the other row was not measured. `own` are the rounds of the row, `rounds` those of all."""
        if self.of:
            others = rounds.get(self.of)
            if not others:
                return None
            value = _ratio(own, others)
        if self.bound is None:
            return {"of": self.of, "ratio": value, "wanted": "", "met": None}
        return {"of": self.of, "ratio": value if self.of else None, "wanted": "%s %g" % (
            ">=" if self.at_least else "<=", self.bound), "met": value >= self.bound if self.at_least else
            value <= self.bound}


def _ratio(values, others):
    """What was measured in the same round is compared, since the machine may have changed by the next."""
    if len(values) == len(others):
        return statistics.geometric_mean(value / other for value, other in zip(values, others))
    return statistics.mean(values) / statistics.mean(others)


@dataclasses.dataclass(frozen=True)
class Row:
    """`name` is the measurement and `field` the number of it; of several rounds `pick` gives the value."""
    title: str
    name: str
    field: str
    unit: str
    wanted: tuple = ()
    pick: object = statistics.mean

    @property
    def key(self):
        return "%s.%s" % (self.name, self.field)


def evaluate(rows, measured):
    """The rows that were measured, as they go into the JSON file. `measured`: name -> numbers of each round."""
    rounds = {row.key: [numbers[row.field] for numbers in measured.get(row.name, ()) if row.field in numbers]
              for row in rows}
    values = {row.key: row.pick(rounds[row.key]) for row in rows if rounds[row.key]}
    titles = {row.key: row.title.strip() for row in rows}
    for row in rows:
        if row.key not in values:
            continue
        checks = [check for wanted in row.wanted if (check := wanted.check(values[row.key], rounds[row.key], rounds))]
        for check in checks:
            check["of"] = titles.get(check["of"])
        yield {"row": row.title.strip(), "detail": row.title.startswith(" "), "key": row.key,
               "value": values[row.key], "unit": row.unit, "rounds": rounds[row.key], "checks": checks}


def _shown(value):
    return "{:,.{}f}".format(value, 0 if value >= 1000 else 1 if value >= 100 else 2)


def lines(results):
    """The table as text; a row that is compared with several others goes on below itself."""
    form = "%-58s %12s %-8s %8s %-38s %8s %s"
    yield form % ("measured", "value", "unit", "ratio", "of", "wanted", "met")
    for result in results:
        title = "  " * result["detail"] + result["row"]
        first = (title, _shown(result["value"]), result["unit"])
        for check in result["checks"] or [None]:
            second = ("", "", "", "")
            if check:
                ratio = "%.2f" % check["ratio"] if check["ratio"] is not None else ""
                second = (ratio, check["of"] or "", check["wanted"], "" if check["met"] is None else "yes" if check["met"] else "NO")
            yield (form % (first + second)).rstrip()
            first = ("", "", "")
