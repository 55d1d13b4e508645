"""Runs suites of the Java program and turns its bursts into rows."""

import collections
import contextlib
import dataclasses
import pathlib
import re
import subprocess
import tempfile

from harness import figures, lttng
from harness.process import BUILD, DIST, Failed, Sink, agent_options, home, java, own_logs
from harness.table import Row

# Settings and options of the agent that put a suite's process into its state. All others run with
# the settings as installed.
SETTINGS = {"suppressed": {"internal.disable.nestedrequests": "YES"},
            "memory": {"internal.memory.limit": 4}}  # the least: what the agent has itself fills it
OPTIONS = {"disabled": "java=off"}

RATIOS = [  # suite, ours, theirs, what, target
    ("pairs", "http", "jfr.two", "HTTP pair / JFR, two events", 0.75),
    ("pairs", "http", "jfr.one", "HTTP pair / JFR, one event with a duration", 1.0),
    ("pairs", "http", "lttng", "HTTP pair / LTTng, two tracepoints", 0.6),
    ("pairs", "sql", "jfr.sql", "SQL pair / JFR, two events with two texts", 0.75),
    ("idle", "http.idle", "http.alone", "HTTP pair with 1,000 idle threads / without", 1.1),
    ("threads", "http.2", "http", "HTTP pair, two threads on two cores / one", 1.15),
    ("crowd", "http.64", "http", "HTTP pair, 64 threads / one", None),
]
EXCESS = [  # suite, ours, the empty native with the same arguments, what
    ("suppressed", "suppressed", "empty.sql", "suppressed SQL call, above an empty native"),
    ("disabled", "sql", "empty.sql", "SQL call while disabled, above an empty native"),
    ("disabled", "http", "empty.http", "HTTP call while disabled, above an empty native"),
    ("memory", "sql", "empty.sql", "SQL call at the memory limit, above an empty native"),
    ("memory", "http", "empty.http", "HTTP call at the memory limit, above an empty native"),
]
MOST_EXCESS_NS = 40
SUITES = list(dict.fromkeys(suite for suite, *_ in RATIOS + EXCESS))
REFUSED_AS = {"disabled": "disabled", "memory": "memory"}

# Compiled anew in each process, JFR's events differ by a third from one to the next.
PROCESSES = {"pairs": 5}

AGENT_CASES = ["http", "sql", "http.idle", "http.alone"]

# What one pair of a case leaves in a recording.
RECORDED = {"jfr.one": ["bench.Request"], "jfr.two": ["bench.RequestBegin", "bench.RequestEnd"],
            "jfr.sql": ["bench.SqlBegin", "bench.SqlEnd"]}


@dataclasses.dataclass
class Output:
    """What the program said. Bursts: ns for a pair, by case and then by round."""
    wall: dict = dataclasses.field(default_factory=lambda: collections.defaultdict(list))
    cpu: dict = dataclasses.field(default_factory=lambda: collections.defaultdict(list))
    made: dict = dataclasses.field(default_factory=dict)
    recorded: dict = dataclasses.field(default_factory=dict)
    ledger: dict = dataclasses.field(default_factory=dict)

    def take(self, line):
        kind, *words = line.rstrip("\n").split("\t")
        if kind == "burst":
            self._burst(*words)
        elif kind in ("made", "recorded"):
            getattr(self, kind)[words[0]] = int(words[1])
        elif kind == "ledger":
            self.ledger.update((name, int(number)) for name, number in
                               re.findall(r"([\w.]+)\s*[:=]\s*(-?\d+)", words[0]))

    def add(self, other):
        """The bursts of another process."""
        for mine, others in ((self.wall, other.wall), (self.cpu, other.cpu)):
            for case, bursts in others.items():
                mine[case] += bursts

    def _burst(self, case, number, wall, cpu):
        for clock, value in ((self.wall, wall), (self.cpu, cpu)):
            if len(clock[case]) != max(int(number), 0):
                raise Failed(f"round {number} of {case} is out of order")
            clock[case].append(float(value))


def measure(suite, rounds):
    """All rounds of a suite, in as many processes as it takes."""
    processes = PROCESSES.get(suite, 1)
    output, *others = [run(suite, max(rounds // processes, 2)) for _ in range(processes)]
    for other in others:
        output.add(other)
    return output


def run(suite, rounds, profile=None):
    """One process; `profile` is a file for perf's samples."""
    tracing = lttng.session() if suite == "pairs" else contextlib.nullcontext()
    with Sink() as sink, tracing as traced, \
            home(SETTINGS.get(suite)) as place, tempfile.TemporaryDirectory() as scratch:
        command = [java(), "-Xms512m", "-Xmx512m", "-XX:+PreserveFramePointer",
                   *agent_options(place, sink.port, OPTIONS.get(suite, "")),
                   "-cp", f"{BUILD}/bench/bench.jar:{DIST}/lib/velora-boot.jar",
                   "bench.Pairs", suite, rounds, BUILD / "bench" / "libbench_empty.so",
                   pathlib.Path(scratch) / "recording.jfr", *([lttng.LIBRARY] if traced else [])]
        if profile:
            command = ["perf", "record", "-g", "-o", profile, "--", *command]
        output = spoken([str(word) for word in command], scratch, own_logs(place))
        check(suite, output)
        if traced:
            check_trace(output.made["lttng"], *traced.stop())
        return output


def spoken(command, directory, environment):
    output = Output()
    with open(pathlib.Path(directory) / "errors.txt", "w+", encoding="utf-8") as errors:
        process = subprocess.Popen(command, cwd=directory, env=environment, text=True,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=errors)
        try:
            for line in process.stdout:
                output.take(line)
            if status := process.wait():
                errors.seek(0)
                raise Failed(f"the program ended with {status}: {errors.read()[-2000:]}")
        finally:
            process.kill()
            process.wait()
    return output


def check(suite, output):
    """A run that lost events, or recorded fewer than it made, measured something else."""
    for case, events in RECORDED.items():
        for event in events:
            if output.recorded.get(event, 0) != output.made.get(case, 0):
                raise Failed(f"JFR recorded {output.recorded.get(event, 0)} of "
                             f"{output.made[case]} {event}")
    ledger = output.ledger
    calls = 2 * sum(output.made.get(case, 0) for case in AGENT_CASES)
    if cause := REFUSED_AS.get(suite):
        if ledger[f"lost.{cause}"] < calls:
            raise Failed(f"{calls} calls should have been refused: {ledger}")
    elif suite == "suppressed":
        if ledger["created"] > output.made["suppressed"] / 10:
            raise Failed(f"statements were not suppressed: {ledger}")
    elif ledger["lost"] or ledger["queued"] or ledger["sent"] < calls:
        raise Failed(f"{calls} events should have been sent and none lost: {ledger}")


def check_trace(pairs, discarded, recorded):
    if discarded:
        raise Failed(f"LTTng discarded {discarded} events")
    if recorded is not None and set(recorded.values()) != {pairs}:
        raise Failed(f"LTTng recorded {dict(recorded)} of {pairs} pairs")


def rows(outputs, clock):
    """`outputs` by suite; suites that did not run have no rows."""
    for suite, ours, theirs, what, target in RATIOS:
        bursts = getattr(outputs[suite], clock) if suite in outputs else {}
        if ours in bursts and theirs in bursts:
            yield Row.of(what, figures.ratios(bursts[ours], bursts[theirs]), target=target)
        elif bursts:
            yield Row.missing(what, "not installed", target=target)
    for suite, ours, floor, what in EXCESS:
        if suite in outputs:
            bursts = getattr(outputs[suite], clock)
            excess = [(a - b) / 2 for a, b in zip(bursts[ours], bursts[floor])]
            yield Row.of(what, excess, unit="ns", target=MOST_EXCESS_NS)
    for suite, output in outputs.items():
        for case, bursts in sorted(getattr(output, clock).items()):
            yield Row.of(f"{suite}: {case}, a pair", bursts, unit="ns")
