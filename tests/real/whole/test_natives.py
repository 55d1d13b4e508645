"""Every native method of the agent's classes, called with every kind of values: what it reports
arrives once and as it was sent, and nothing else happens.
"""

import collections
import itertools
import json
import pathlib
import re
import stat

from harness import JARS, Driver, WholePath
from javavalues import Raw, RepeatedList, written
from rounds import BIG, ODD, ROUNDS
from table import (ANNOUNCED, COMMAND, ELSEWHERE, LOCK, PORTAL, SAMPLERS, SCENARIOS, SYSTEM,
                   THREADS, UTILS)
from waiting import wait_until

CATALOGUE = pathlib.Path(__file__).parents[3] / "docs" / "NATIVES.md"
WORD = "Hx3&w!#9k(*pR7$e^2#uZ"
EVERY = SCENARIOS + ANNOUNCED + SAMPLERS
MANY = 50
CONTROLLER = "com.velora.probe.ProbeController."
BEFORE = [[CONTROLLER + "initializeJVMPI"], ["com.velora.probe.ProbeSystem.initializeProbe"],
          ["com.velora.probe.ProbeUtils.customServiceStart"], [CONTROLLER + "startNativeProbe"],
          *[[CONTROLLER + "setupGps", mask] for mask in (None, "", "2", BIG, ODD, "1" * 33, "0101")],
          *[[CONTROLLER + "setModLevel", level] for level in (1, 3, 0, -1, 1 << 30, 2)],
          [CONTROLLER + "restartOnToFromL1"],
          *[[CONTROLLER + "flushNativeProbe", millis] for millis in (0, -1, (1 << 31) - 1)]]
ENDINGS = [CONTROLLER + "stopNativeProbe", "com.velora.probe.ProbeUtils.customServiceShutDown"]


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


def tabled():
    return {native.name for scenario in EVERY for native in scenario}


def catalogue():
    """The kinds of records of each native, as the documentation lists them."""
    kinds, owner = {}, None
    for line in CATALOGUE.read_text(encoding="utf-8").splitlines():
        if line.startswith("### "):
            owner = line[4:]
        elif owner and (row := re.match(r"\| `[^`(]*?(\w+)\(.*\)` \|.*\| (.*) \|$", line)):
            kinds[f"{owner}.{row[1]}"] = set(re.findall(r"([A-Z][A-Z0-9_]*) \d+", row[2]))
    return kinds


def tabled_kinds():
    kinds = {name: set() for name in tabled() | ELSEWHERE.keys()}
    for native in (n for scenario in EVERY for n in scenario):
        kinds[native.name] |= {r.kind for r in native.records}
    return kinds


def fields_of(expected):
    """The fields that the table names, by kind of record."""
    names = {}
    for kind, fields in expected:
        if names.setdefault(kind, list(json.loads(fields))) != list(json.loads(fields)):
            raise AssertionError(f"{kind} with other fields than before: {fields}")
    return names


def came(records, names):
    """The records as the table writes them: with the fields that it names."""
    return collections.Counter(
        key(r["record"], {f: r[f] for f in names.get(r["record"], ())}) for r in records)


def some(counter):
    return [f"{count} x {kind} {fields[:300]}"
            for (kind, fields), count in itertools.islice(counter.items(), 12)]


class Natives(WholePath):
    def setUp(self):
        super().setUp()
        self.home.set(**ROOMY)
        self.collector = self.collect("--strict")
        self.jvm = self.start(Driver, *JARS, port=self.collector.port, options=["-Xcheck:jni"])
        self.natives = self.jvm.natives()

    def ask(self, name, *args):
        return self.jvm.ask("com.velora." + name, *args)

    def records(self):
        """What the collector has seen of the calls."""
        return [r for r in self.collector.records() if asked(r)]

    def connected(self):
        """Waits until the connection has its initial records; returns the loss report then."""
        wait_until("the first records have come", lambda: any(
            r["record"] == "SAMPLING_RATE" for r in self.collector.records()))
        return self.jvm.drained()

    def end(self):
        self.assertEndsWell(self.jvm)
        self.collector.stop()

    def check(self, rounds, threads=1, scenarios=SCENARIOS):
        lines, expected = plan(self.natives, scenarios, rounds)
        for name in expected:
            expected[name] *= threads
        before = self.connected()
        first = self.records()
        self.assertEqual(self.jvm.run(lines, threads), [])
        figures = self.jvm.drained()
        self.end()
        records = self.records()
        got = came(records[len(first):], fields_of(expected))
        self.assertEqual((some(expected - got), some(got - expected)), ([], []))
        self.assertNested(records)
        tokens = [r["token"] for r in records if r["record"] == "GPS_REQUEST_INVOKE_START"]
        self.assertEqual(len(tokens), len(set(tokens)), "tokens repeat")
        self.assertEqual(figures["lost"], before["lost"], figures)

    def test_each_native_is_called(self):
        """A native that no table knows is one that nobody thought of; of those that there are the
        documentation names the records that we expect.
        """
        self.assertEqual(set(self.natives), tabled() | ELSEWHERE.keys())
        self.assertEqual(catalogue(), tabled_kinds())

    def test_all_values(self):
        self.check(ROUNDS.values(), scenarios=SCENARIOS + ANNOUNCED)

    def test_many_threads(self):
        self.check([ROUNDS["ordinary"], ROUNDS["odd"]], MANY)

    def test_a_record_too_large_to_be_taken(self):
        """It is given up and counted by the agent, and not sent for the collector to stumble on."""
        self.connected()
        methods = [RepeatedList(value, 65_535) for value in (1, "element", "()V")]
        self.assertEqual(
            self.ask("probe.l3trace.BcmRuntime.sendClassEventNative", 1, "Large", *methods), "true")
        figures = self.jvm.drained()
        self.end()
        self.assertEqual((figures["lost.tooLarge"], figures["lost"]), (1, 1))
        self.assertNotIn("MALFORMED", {r["record"] for r in self.collector.records()})

    def assertAnswers(self, rows):
        for name, args, answer in rows:
            with self.subTest(name=name, args=args):
                self.assertRegex(self.ask(name, *args), f"^{answer}$")

    def test_answers(self):
        trace = "com.velora." + THREADS + "issueTraceRequest"
        self.assertEqual(self.jvm.ask(trace), "null")
        self.assertEqual(self.jvm.run([trace]), [])
        me = int(self.ask(THREADS + "getEnv"))
        other = int(self.ask(COMMAND + "getThreadId", "caller-0", "main"))
        self.assertAnswers((
            (UTILS + "getBuildTime", [], r"TIME : \S+ DATE: .+"),
            (UTILS + "getNativeGpsToken", [], r"\[0, 0, 0, 0\]"),
            (COMMAND + "getThreadId", ["caller-0", "system"], "0"),
            (COMMAND + "generateThreadDump", [None], "-1"),
            (THREADS + "getNativeThreadStatus", [me], "1"),
            (THREADS + "getNativeThreadStatus", [other], "3"),
            (THREADS + "getNativeThreadStatus", [1], "-1"),
            (THREADS + "getStackTrace", [me, 1, 0],
             r"\[com/velora/probe/ThreadManager, getStackTrace, \(III\)\[Ljava/lang/String;\]"),
            (THREADS + "getStackTrace", [other, 20, 0], r"\[java/lang/Thread, .* Driver, live, .*"),
            (THREADS + "getStackTrace", [1, 1, 0], r"\[null, null, null\]"),
            (SYSTEM + "getProcessId", [], str(self.jvm.process.pid)),
            (SYSTEM + "getArgumentVector", [], r"\[.*-Xcheck:jni.*\]"),
            (SYSTEM + "nativeGetTimeMicroSeconds", [], r"\d{1,6}"),
            (SYSTEM + "nativeGetCurrentThreadID", [], str(me)),
            ("probe.ProbePMI.initializeProbe", [], "true"),
            (PORTAL + "startGatewayServletRequest", [], "null"),
            (PORTAL + "getServletDepth", [], "1"),
            (LOCK, [7, "", 1, 1, "", "", 1, 1], "false"),
            (LOCK, [1, "", 1, 1, "", "", 1, 1], "true"),
            (PORTAL + "getServletDepth", [], "2")))
        self.end()

    def test_servers_objects(self):
        """What the agent asks of a server's classes, whatever becomes of those meanwhile."""
        held = {"AVSSystem": "settings", "Factory": "sources"}
        self.assertAnswers(
            (native, [Raw(f"@ServerObjects${owner}")],
             rf"\{{found={held[owner]}\}}" if owner == holder else "null")
            for native, holder in (
                ("av5.ProbeService.getSystemProperties", "AVSSystem"),
                ("av6.ProbeService.getSystemProperties", "AVSSystem"),
                ("av5.AVSServer.getDataSources", "Factory"))
            for owner in ("AVSSystem", "Unprepared", "Factory", "Failing"))
        self.end()

    def test_credentials(self):
        """A password comes back whole, to who knows the word."""
        path, password = self.home.path / "etc" / "admin", "p\u00e4\u20ac\U0001f600\0!"
        self.ask(UTILS + "genPasswordFile", "ann", password, str(path))
        self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o600)
        self.assertTrue(path.read_bytes().startswith(b"ann:"))
        self.assertAnswers(((UTILS + "getUser", [WORD, str(path)], "ann"),
                            (UTILS + "getPassword", [WORD, str(path)], password),
                            (UTILS + "getPassword", ["word", str(path)], "null")))
        self.end()
        self.assertIn("Decrypted password: p\u00e4\u20ac", self.jvm.stdout())

    def test_samplers(self):
        self.check([ROUNDS["ordinary"]], MANY, SAMPLERS)

    def test_life_of_the_probe(self):
        """Started twice, stopped, shut down: whatever is called then does no harm, and reports
        arrive exactly while the probe is collecting.
        """
        lines, expected = plan(self.natives, SCENARIOS, [ROUNDS["ordinary"], ROUNDS["null"]])
        self.connected()
        for name in BEFORE:
            self.jvm.ask(*name)
        self.assertEqual(self.jvm.run(lines), [])
        self.jvm.ask(CONTROLLER + "flushNativeProbe", 1_000)
        self.jvm.drained()
        for ending in ENDINGS:
            self.jvm.ask(ending)
            self.assertEqual(self.jvm.run(lines), [])
        self.end()
        records = self.records()
        names = fields_of(expected)
        del names["SAMPLING_RATE"]  # told again at each start
        got = came((r for r in records if r["record"] in names), names)
        wanted = collections.Counter({k: n for k, n in expected.items() if k[0] in names})
        self.assertEqual((some(wanted - got), some(got - wanted)), ([], []))

    def test_stop_native(self):
        self.jvm.tell("ask com.velora.probe.ProbeSystem.stopNative")
        self.assertEndsWell(self.jvm, status=12)
