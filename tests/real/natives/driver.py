"""A JVM that calls natives as it is told, its agent home and its collector."""

import collections
import json
import pathlib
import threading

from harness import PATIENCE, Collector, Home, Jvm, wait_until
from javavalues import written

# What comes without a call: of the connection, and of the JVM itself.
UNASKED = {"HEADER", "INIT", "INIT_J2EE", "GC_START", "GC_END"}


def asked(record):
    """Whether a call has made it. Of a class that Java announced the object's id is its number."""
    if record["record"] == "CLASS_UNLOAD":
        return record["classObjectId"] == record["sequenceID"]
    return record["record"] not in UNASKED


# Nothing of what a test calls may be turned away or cut by a setting.
ROOMY = {"internal.memory.limit": 1_000, "internal.probe.event.queue.size.limit": 1_000_000,
         "internal.sql.limit": 100_000, "internal.url.limit": 100_000,
         "networkagent.buffer.limit": 1_000}


def plan(natives, scenarios, rounds):
    """Lines for the driver, and the records that one thread's run of them must leave."""
    lines, expected = [], collections.Counter()
    for values in rounds:
        for scenario in scenarios:
            label = scenario[0].name.rsplit(".", 1)[1]
            calls = []
            for native in scenario:
                args = [native.given.get(i, values.value(label, kind, i))
                        for i, kind in enumerate(natives[native.name])]
                lines.append("\t".join([native.name, *map(written, args)]))
                calls.append(args)
                expected.update(key(r.kind, fields) for r in native.records
                                if (fields := r.fields(calls)) is not None)
    return lines, expected


def key(kind, fields):
    return kind, json.dumps(fields, sort_keys=True)


class Driver:
    def __init__(self, jars, *options):
        self.home = Home()
        with open(self.home.settings, "a", encoding="ascii") as settings:
            settings.writelines(f"{name} = {value}\n" for name, value in ROOMY.items())
        self.collector = Collector("--strict").start()
        self.jvm = Jvm("Natives", *jars, home=self.home.path, port=self.collector.port,
                       options=["-Xcheck:jni", *options])
        # A native that hangs is a JVM that no longer answers.
        self.watchdog = threading.Timer(2 * PATIENCE, self.jvm.process.kill)
        self.watchdog.start()

    def __enter__(self):
        self.jvm.expect("ready")
        self.natives = self._natives()
        return self

    def __exit__(self, *_):
        self.watchdog.cancel()
        self.jvm.remove(), self.collector.remove(), self.home.remove()

    def _natives(self):
        self.jvm.tell("list")
        self.jvm.expect("listed")
        lines = [line.split()[1:] for line in self.jvm.output if line.startswith("native ")]
        return {name: kinds for name, *kinds in lines}

    def run(self, lines, threads=1):
        """Makes the calls on so many threads at once; returns what they threw."""
        file = pathlib.Path(self.jvm.cwd, "plan.txt")
        file.write_text("".join(line + "\n" for line in lines), encoding="ascii")
        before = len(self.jvm.output)
        self.jvm.tell(f"run {file} {threads}")
        self.jvm.expect("ran")
        return [line for line in self.jvm.output[before:] if line.startswith("threw ")]

    def ask(self, name, *args):
        """One call; returns its result as text."""
        self.jvm.tell("ask " + "\t".join([name, *map(written, args)]))
        return self.jvm.expect("answer ")

    def records(self):
        """What the collector has seen of the calls."""
        return [r for r in self.collector.records() if asked(r)]

    def report(self):
        """The loss report as numbers."""
        self.jvm.tell("report")
        pairs = (pair.split("=") for pair in self.jvm.expect("report ").split())
        return {name: int(value) for name, value in pairs}

    def drained(self):
        """The loss report once nothing is on its way any more."""
        def rest():
            figures = self.report()
            return figures if figures["queued"] == 0 else None
        return wait_until("all events have left", rest)

    def connected(self):
        """Waits until the connection has its initial records; returns the loss report then."""
        wait_until("the first records have come", lambda: any(
            r["record"] == "SAMPLING_RATE" for r in self.collector.records()))
        return self.drained()

    def end(self):
        status = self.jvm.end()
        self.collector.stop()
        return status

    def text(self):
        return "".join(self.jvm.output) + self.jvm.stderr()
