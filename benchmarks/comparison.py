"""What has been measured of ours and of a peer, as rows of a table, and what is expected of their ratios."""
import dataclasses
import json
import statistics

# A ratio may be this much above the upper quartile that was seen, or this much above the expected one where that is
# more: machines differ in cores, caches and disks.
ROOM_ABOVE_SPREAD = 1.25
ROOM = 1.5


class Mistake(Exception):
    """Something that was typed or written wrongly; the text says what."""


@dataclasses.dataclass
class Spread:
    """Median and quartiles."""

    low: float
    median: float
    high: float

    @classmethod
    def of(cls, samples):
        if len(samples) == 1:
            return cls(samples[0], samples[0], samples[0])
        return cls(*statistics.quantiles(samples, n=4, method="inclusive"))

    def text(self, digits, unit=""):
        text = f"{self.median:,.{digits}f}"
        return (f"{text} {unit}" if unit else text) + f" ({self.low:,.{digits}f}-{self.high:,.{digits}f})"


@dataclasses.dataclass
class Row:
    """Samples of ours, and where there is a peer as many of it, taken in turns. Without a peer and without a unit of
    time they are ratios by themselves, such as a growth."""

    what: str
    ours: list
    unit: str = ""
    peer: str = ""
    peers: list = dataclasses.field(default_factory=list)
    aim: str = ""

    def ratio(self):
        """What does not depend on how fast the machine is; nothing for a mere time."""
        if self.peers:
            return Spread.of([mine / other for mine, other in zip(self.ours, self.peers)])
        return None if self.unit in ("s", "ms", "us") else Spread.of(self.ours)

    def cells(self):
        digits = {"s": 3, "ms": 2}.get(self.unit, 1)
        return (self.what.rstrip(), Spread.of(self.ours).text(digits, self.unit), self.peer,
                Spread.of(self.peers).text(digits, self.unit) if self.peers else "",
                self.ratio().text(2) if self.peers else "", self.aim)


def table(rows):
    lines = [("what", "ours (quartiles)", "peer", "peer's (quartiles)", "ratio (quartiles)", "aim")]
    lines += [row.cells() for row in rows]
    widths = [max(len(line[column]) for line in lines) for column in range(6)]
    return "\n".join("  ".join(text.ljust(width) for text, width in zip(line, widths)).rstrip() for line in lines)


class Expectations:
    """The ratio that each row is expected to have, and the quartiles that were seen with it, in a file of JSON."""

    def __init__(self, path):
        self.path = path
        self.rows = {}
        try:
            text = path.read_text()
        except FileNotFoundError:
            return
        try:
            self.rows = json.loads(text)
        except ValueError as error:
            raise Mistake(f"{path.name}: {error}") from None
        if not isinstance(self.rows, dict):
            raise Mistake(f"{path.name}: must be an object with a member for each row")
        for what, row in self.rows.items():
            if not isinstance(row, dict) or set(row) != {"low", "ratio", "high"}:
                raise Mistake(f'{path.name}: "{what}" must have "low", "ratio" and "high"')
            for name, value in row.items():
                if isinstance(value, bool) or not isinstance(value, (int, float)) or not 0 < value < 1e6:
                    raise Mistake(f'{path.name}: "{name}" of "{what}" must be a number above 0')
            if not row["low"] <= row["ratio"] <= row["high"]:
                raise Mistake(f'{path.name}: "{what}" must have its ratio between "low" and "high"')

    def limit(self, what):
        row = self.rows[what]
        return max(row["high"] * ROOM_ABOVE_SPREAD, row["ratio"] * ROOM)

    def complaint(self, row):
        """Why `row` is not as expected; nothing when it is."""
        ratio = row.ratio()
        if ratio is None:
            return None
        if row.what not in self.rows:
            return f"{row.what}: nothing is expected of it yet; --expect writes that down"
        limit = self.limit(row.what)
        if ratio.median <= limit:
            return None
        return (f"{row.what}: got worse: {ratio.text(2)}, expected {self.rows[row.what]['ratio']:.2f}, "
                f"{limit:.2f} at most")

    def learn(self, rows):
        for row in rows:
            if ratio := row.ratio():
                self.rows[row.what] = {"low": round(ratio.low, 3), "ratio": round(ratio.median, 3),
                                       "high": round(ratio.high, 3)}

    def write(self):
        lines = (f"  {json.dumps(what)}: {json.dumps(row)}" for what, row in sorted(self.rows.items()))
        self.path.write_text("{\n" + ",\n".join(lines) + "\n}\n")


def check(rows, expectations, measure_again, times):
    """The complaints that are left of `rows`. What seems worse is measured again, up to `times` times, and its best
    ratio counts: another program that ran meanwhile makes a ratio worse, and nothing makes it better than it is."""
    complaints = {row.what: text for row in rows if (text := expectations.complaint(row))}
    for _ in range(times):
        if not any(what in expectations.rows for what in complaints):
            break
        for row in measure_again():
            if row.what in complaints and not expectations.complaint(row):
                del complaints[row.what]
    return list(complaints.values())
