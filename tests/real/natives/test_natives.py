"""Every native method of the agent's classes, called with every kind of values: what it reports
arrives once and as it was sent, and nothing else happens.
"""

import collections
import itertools
import json
import os
import pathlib
import re
import unittest

from driver import Driver, key, plan
from harness import assert_nested
from javavalues import RepeatedList
from rounds import BIG, ODD, ROUNDS
from table import (ANNOUNCED, COMMAND, ELSEWHERE, LOCK, PORTAL, SAMPLERS, SCENARIOS, SYSTEM,
                   THREADS, UTILS)

JARS = os.environ["VELORA_TEST_JARS"].split(":")
CATALOGUE = pathlib.Path(__file__).parents[3] / "docs" / "NATIVES.md"
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


class Natives(unittest.TestCase):
    maxDiff = None

    def assertUnharmed(self, driver, status=0):
        self.assertEqual(driver.jvm.process.returncode, status, driver.text()[-3000:])
        self.assertEqual(driver.jvm.crash_files(), [])
        complaints = [line for line in driver.text().splitlines()
                      if re.search("(WARNING|FATAL ERROR) in native|WARNING:? JNI", line)]
        self.assertEqual(complaints, [])

    def check(self, rounds, threads=1, scenarios=SCENARIOS):
        with Driver(JARS) as driver:
            lines, expected = plan(driver.natives, scenarios, rounds)
            for name in expected:
                expected[name] *= threads
            before = driver.connected()
            first = driver.records()
            self.assertEqual(driver.run(lines, threads), [])
            figures = driver.drained()
            driver.end()
            records = driver.records()
            got = came(records[len(first):], fields_of(expected))
            self.assertEqual((some(expected - got), some(got - expected)), ([], []))
            assert_nested(self, records)
            tokens = [r["token"] for r in records if r["record"] == "GPS_REQUEST_INVOKE_START"]
            self.assertEqual(len(tokens), len(set(tokens)), "tokens repeat")
            lost = {n for n, v in figures.items() if n.startswith("lost") and v != before[n]}
            self.assertEqual(lost, set(), figures)
            self.assertUnharmed(driver)

    def test_each_native_is_called(self):
        """A native that no table knows is one that nobody thought of."""
        with Driver(JARS) as driver:
            known = tabled() | ELSEWHERE.keys()
            self.assertEqual(set(driver.natives) - known, set(), "unknown natives")
            self.assertEqual(known - set(driver.natives), set(), "natives that are no more")

    def test_catalogue(self):
        """The documentation names the records that we expect, of the natives that there are."""
        self.assertEqual(catalogue(), tabled_kinds())

    def test_all_values(self):
        self.check(ROUNDS.values(), scenarios=SCENARIOS + ANNOUNCED)

    def test_many_threads(self):
        self.check([ROUNDS["ordinary"], ROUNDS["odd"]], MANY)

    def test_a_record_too_large_to_be_taken(self):
        """It is given up and counted by the agent, and not sent for the collector to stumble on."""
        methods = [RepeatedList(1, 65_535), RepeatedList("element", 65_535),
                   RepeatedList("()V", 65_535)]
        call = ["com.velora.probe.l3trace.BcmRuntime.sendClassEventNative", 1, "Large", *methods]
        with Driver(JARS) as driver:
            driver.connected()
            self.assertEqual(driver.ask(*call), "true")
            figures = driver.drained()
            driver.end()
            self.assertEqual((figures["lost.tooLarge"], figures["lost"]), (1, 1))
            self.assertEqual([r for r in driver.collector.records() if r["record"] == "MALFORMED"],
                             [])

    def test_answers(self):
        with Driver(JARS) as driver:
            self.assertEqual(driver.ask("com.velora." + THREADS + "issueTraceRequest"), "null")
            self.assertEqual(driver.run(["com.velora." + THREADS + "issueTraceRequest"]), [])
            me = int(driver.ask("com.velora." + THREADS + "getEnv"))
            pid = driver.jvm.process.pid
            for name, args, answer in (
                    (UTILS + "getBuildTime", [], r"TIME : \S+ DATE: .+"),
                    (UTILS + "getNativeGpsToken", [], r"\[0, 0, 0, 0\]"),
                    (COMMAND + "getThreadId", ["caller-0", "main"], r"-?[1-9]\d*"),
                    (COMMAND + "getThreadId", ["caller-0", "system"], "0"),
                    (COMMAND + "generateThreadDump", [None], "-1"),
                    (THREADS + "getNativeThreadStatus", [me], "1"),
                    (THREADS + "getNativeThreadStatus", [1], "-1"),
                    (THREADS + "getStackTrace", [me, 1, 0],
                     r"\[com/velora/probe/ThreadManager, getStackTrace, \(III\)\[Ljava/lang/String;\]"),
                    (THREADS + "getStackTrace", [1, 1, 0], r"\[null, null, null\]"),
                    (SYSTEM + "getProcessId", [], str(pid)),
                    (SYSTEM + "getArgumentVector", [], r"\[.*-Xcheck:jni.*\]"),
                    (SYSTEM + "nativeGetTimeMicroSeconds", [], r"\d{1,6}"),
                    (SYSTEM + "nativeGetCurrentThreadID", [], str(me)),
                    (PORTAL + "startGatewayServletRequest", [], "null"),
                    (PORTAL + "getServletDepth", [], "1"),
                    (LOCK, [7, "", 1, 1, "", "", 1, 1], "false"),
                    (LOCK, [1, "", 1, 1, "", "", 1, 1], "true"),
                    (PORTAL + "getServletDepth", [], "2")):
                with self.subTest(name=name, args=args):
                    self.assertRegex(driver.ask("com.velora." + name, *args), f"^{answer}$")
            driver.end()
            self.assertUnharmed(driver)

    def test_samplers(self):
        self.check([ROUNDS["ordinary"]], MANY, SAMPLERS)

    def test_life_of_the_probe(self):
        """Started twice, stopped, shut down: whatever is called then does no harm, and reports
        arrive exactly while the probe is collecting.
        """
        with Driver(JARS) as driver:
            lines, expected = plan(driver.natives, SCENARIOS, [ROUNDS["ordinary"], ROUNDS["null"]])
            driver.connected()
            for name in BEFORE:
                driver.ask(*name)
            self.assertEqual(driver.run(lines), [])
            driver.ask(CONTROLLER + "flushNativeProbe", 1_000)
            driver.drained()
            for ending in ENDINGS:
                driver.ask(ending)
                self.assertEqual(driver.run(lines), [])
            driver.end()
            self.assertUnharmed(driver)
            records = driver.records()
            names = fields_of(expected)
            del names["SAMPLING_RATE"]  # told again at each start
            got = came((r for r in records if r["record"] in names), names)
            wanted = collections.Counter({k: n for k, n in expected.items() if k[0] in names})
            self.assertEqual((some(wanted - got), some(got - wanted)), ([], []))

    def test_stop_native(self):
        with Driver(JARS) as driver:
            driver.jvm.tell("ask com.velora.probe.ProbeSystem.stopNative")
            driver.end()
            self.assertUnharmed(driver, status=12)


if __name__ == "__main__":
    unittest.main()
