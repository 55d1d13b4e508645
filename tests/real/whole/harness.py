"""Starts the pieces of a whole path (JVM with agent, collector) and reads what came out of them.

Everything here waits for a state with a generous bound, never for a time: a bound that is hit is a
failure, not a slow machine.
"""

import collections
import contextlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import unittest

from javavalues import written
from waiting import free_port, wait_until

DIST = pathlib.Path(os.environ["VELORA_DIST"])
CLASSES = os.environ["VELORA_TEST_CLASSES"]
JARS = os.environ["VELORA_TEST_JARS"].split(":")  # with the agent's natives
JDK = pathlib.Path(os.environ["VELORA_JDK"])
AGENT = DIST / "lib" / "libvelora.so"
PATIENCE = 60  # seconds after which something hangs
LONGEST_LIFE = 500  # seconds; a JVM that is stuck at a safepoint hears nothing but a kill
COMPLAINT = re.compile(r"(WARNING|FATAL ERROR) in native|WARNING:? JNI")


class Home:
    def __init__(self):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="velora-home-"))
        for name in ("etc", "msg"):
            shutil.copytree(DIST / name, self.path / name)
        (self.path / "logs").mkdir()
        self.settings = self.path / "etc" / "datacollector.properties"
        self.set()
    def set(self, **settings):
        """The settings beside those that make a test quick."""
        quick = {"internal.probe.publishing.frequency": 100, "networkagent.publish.frequency": 20}
        quick.update({key.replace("__", "."): value for key, value in settings.items()})
        self.settings.write_text("".join(f"{key} = {value}\n" for key, value in quick.items()))

    def remove(self):
        shutil.rmtree(self.path, ignore_errors=True)


class Collector:
    def __init__(self, *options, port=None):
        self.port = port or free_port()
        self.json = pathlib.Path(tempfile.mkstemp(prefix="velora-json-")[1])
        self.options = options
        self.start()

    def start(self):
        self.process = subprocess.Popen(
            [DIST / "bin" / "velora-collect", "--listen", f"127.0.0.1:{self.port}",
             "--json", str(self.json), *self.options],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        wait_until("the collector listens", self._listening)

    def _listening(self):
        if self.process.poll() is not None:
            raise AssertionError("the collector ended: " + self.process.stderr.read())
        listening = f":{self.port:04X} 00000000:0000 0A"
        return listening in pathlib.Path("/proc/net/tcp").read_text()

    def stop(self, how=signal.SIGTERM):
        if self.process.poll() is None:
            self.process.send_signal(how)
            self.process.wait(PATIENCE)
        self.process.stderr.close()

    def records(self):
        with open(self.json, encoding="utf-8") as lines:
            for line in lines:
                # A killed collector leaves a last line cut short.
                with contextlib.suppress(json.JSONDecodeError):
                    yield json.loads(line)

    def remove(self):
        self.stop()
        self.json.unlink(missing_ok=True)


class Jvm:
    """A JVM with the agent in it, running one of the programs beside this file."""

    def __init__(self, main, *args, home=None, port=None, agent=AGENT, agent_options="",
                 options=(), env=None, classes=CLASSES, user=None):
        command = [JDK / "bin" / "java", "-Xmx256m"]
        if agent:
            command.append(f"-agentpath:{agent}" + (f"={agent_options}" if agent_options else ""))
        if home:
            command.append(f"-Dam.home={home}")
        if port:
            command.append(f"-Dvelora.publish.address=127.0.0.1:{port}")
        self.cwd = pathlib.Path(tempfile.mkdtemp(prefix="velora-cwd-"))
        self.errors = open(self.cwd / "stderr.txt", "w+", encoding="utf-8", errors="replace")
        # Never where the machine's other servers log: what lies there decides where a server logs.
        logs = f"{home}/logs" if home and os.path.isdir(f"{home}/logs") else self.cwd
        env = {**os.environ, "KLGLOG_COMMON_DIR": str(logs), **(env or {})}
        self.process = subprocess.Popen(
            [*map(str, command), *options, "-cp", classes, main, *map(str, args)],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.errors, text=True,
            errors="replace", cwd=self.cwd, env={k: v for k, v in env.items() if v is not None},
            user=user, extra_groups=None if user is None else [])
        self.output = []
        self.watchdog = threading.Timer(LONGEST_LIFE, self.process.kill)
        self.watchdog.daemon = True
        self.watchdog.start()

    def expect(self, *prefixes):
        """Reads standard output until a line with one of these; returns the rest of that line."""
        for line in self.process.stdout:
            self.output.append(line)
            for prefix in prefixes:
                if line.startswith(prefix):
                    return line[len(prefix):].strip()
        raise AssertionError(f"no line {prefixes}; output: {self.text()}")

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def end(self):
        """Waits for the end; returns the exit status. A JVM that hangs fails the test."""
        with contextlib.suppress(OSError):
            self.process.stdin.close()
        self.output.extend(self.process.stdout)
        return self.process.wait(PATIENCE)

    def stdout(self):
        return "".join(self.output)

    def stderr(self):
        return (self.cwd / "stderr.txt").read_text(encoding="utf-8", errors="replace")

    def text(self):
        return self.stdout() + self.stderr()

    def crash_files(self):
        return [p.name for p in self.cwd.iterdir()
                if p.name.startswith(("hs_err", "core", "replay"))]

    def remove(self):
        self.watchdog.cancel()
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        for stream in (self.process.stdin, self.process.stdout, self.errors):
            with contextlib.suppress(OSError):
                stream.close()
        shutil.rmtree(self.cwd, ignore_errors=True)


class Driver(Jvm):
    """A JVM that calls methods of these classes, and natives of these jars, as it is told."""

    def __init__(self, *known, **how):
        jars = [name for name in known if name.endswith(".jar")]
        known = ["com.velora.probe.ThreadManager", *known] if not jars else known
        super().__init__("Driver", *known, classes=":".join([CLASSES, *jars]), **how)
        self.expect("ready")

    def natives(self):
        """The types of the arguments, by method."""
        before = len(self.output)
        self.tell("list")
        self.expect("listed")
        lines = [line.split()[1:] for line in self.output[before:] if line.startswith("native ")]
        return {name: kinds for name, *kinds in lines}

    def run(self, lines, threads=1):
        """Makes the calls on so many threads at once; returns what they threw."""
        file = self.cwd / "plan.txt"
        file.write_text("".join(line + "\n" for line in lines), encoding="ascii")
        before = len(self.output)
        self.tell(f"run {file} {threads}")
        self.expect("ran")
        return [line for line in self.output[before:] if line.startswith("threw ")]

    def ask(self, name, *args):
        """One call; returns its result as text."""
        self.tell("ask " + "\t".join([name, *map(written, args)]))
        answer = self.expect("answer ", "threw ")
        if self.output[-1].startswith("threw "):
            raise AssertionError(answer)
        return answer

    def report(self):
        """The loss report as numbers."""
        text = self.ask("com.velora.probe.ThreadManager.getNativeLossReport")
        return {name: int(value) for name, value in (pair.split("=") for pair in text.split())}

    def drained(self):
        """The loss report once nothing is on its way any more; it must add up."""
        def rest():
            figures = self.report()
            return figures if figures["queued"] == 0 else None
        figures = wait_until("all events have left", rest)
        causes = sum(v for k, v in figures.items() if k.startswith("lost."))
        if (causes, figures["sent"] + causes) != (figures["lost"], figures["created"]):
            raise AssertionError(f"does not add up: {figures}")
        return figures


class WholePath(unittest.TestCase):
    """A test with an agent home of its own, whose processes end with it."""
    maxDiff = None

    def setUp(self):
        self.home = self.new_home()

    def new_home(self):
        home = Home()
        self.addCleanup(home.remove)
        return home

    def collect(self, *options, **how):
        collector = Collector(*options, **how)
        self.addCleanup(collector.remove)
        return collector

    def start(self, kind, *args, **how):
        """A Jvm or a Driver; where nobody says otherwise its collector is not there."""
        how = {"home": self.home.path, "port": free_port(), **how}
        jvm = kind(*args, **how)
        self.addCleanup(jvm.remove)
        return jvm

    def assertEndsWell(self, jvm, status=0):
        self.assertEqual(jvm.end(), status, jvm.text()[-3000:])
        self.assertEqual(jvm.crash_files(), [], jvm.stderr())
        self.assertEqual([c for c in jvm.text().splitlines() if COMPLAINT.search(c)], [])

    def assertNested(self, records):
        """On each thread every end has the depth and the kind of its begin, and begins count up."""
        running = collections.defaultdict(list)
        for r in records:
            if "depth" not in r:
                continue
            calls, kind = running[r["conn"], r["thread"]], r["record"][:3]
            if r["record"].endswith("START"):
                calls.append(kind)
            self.assertEqual((r["depth"], kind), (len(calls), calls[-1] if calls else None), r)
            if not r["record"].endswith("START"):
                calls.pop()
        self.assertEqual([c for c in running.values() if c], [])
