"""Javacore files of many threads, against what Java says of them; dumps under load."""

import os
import pathlib
import re
import signal
import stat
import subprocess
import tempfile
import time
import unittest

from harness import Collector, Home, Jvm, wait_until
from test_counts import assert_balanced, drained

SECONDS = float(os.environ.get("VELORA_DUMP_SECONDS", 4))  # of the mixed run
LOCATIONS = [pathlib.Path("/tmp/javacore_locations"), pathlib.Path("/tmp/dump_locations")]
HEADER = re.compile(r'^"(.*)" \(TID:0x[0-9a-f]+, sys_thread_t:0x([0-9a-f]+), state:([A-Z]+), '
                    r"native ID:0x([0-9a-f]+)\)")
EACH = 167  # of three kinds: 501 threads
# The JVM prints a dump of its own on the signal: into a pipe that nobody reads it would wait.
OWN_DUMPS_TO_STDERR = "-XX:+DisplayVMOutputToStderr"
STATES = {"parked": "PARKED", "blocked": "BLOCKED", "native": "NATIVE"}


class Thread:
    def __init__(self, name, env, state, native_id):
        self.name, self.env, self.state, self.native_id = name, env, state, int(native_id, 16)
        self.frames, self.locked, self.header = [], [], ""


def read(path):
    """The threads of a javacore file; it must be whole."""
    text = pathlib.Path(path).read_text(encoding="utf-8", errors="replace")
    assert text.endswith("End of javacore\n"), text[-200:]
    threads, current = [], None
    for line in text.splitlines():
        if header := HEADER.match(line):
            current = Thread(*header.groups())
            current.header = line
            threads.append(current)
        elif current and line.startswith("    at "):
            current.frames.append(line.removeprefix("    at ").split("(")[0])
        elif current and line.startswith("    - locked "):
            current.locked.append((len(current.frames), line))
        else:
            assert not line or not current or line == "End of javacore", line
    assert int(re.search(r"^Threads: (\d+)$", text, re.M).group(1)) == len(threads)
    return threads


def read_back(path, envs):
    """{env: [class.method]} as the agent's own reader finds them."""
    out = subprocess.run([os.environ["VELORA_JAVACORE_STACKS"], path], input="\n".join(envs),
                         check=True, capture_output=True, text=True, timeout=60).stdout
    stacks = {}
    for line in out.splitlines():
        if line.startswith("|"):
            frames = stacks[line[1:]] = []
        else:
            frames.append(line)
    return stacks


class Server:
    def __init__(self, each, *options, env=None):
        self.home, self.collector = Home(internal__stacktrace__sleep=300), Collector().start()
        self.jvm = Jvm("Dumps", each, home=self.home.path, port=self.collector.port,
                       options=(*options, OWN_DUMPS_TO_STDERR), env=env)
        self.jvm.expect("ready")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.jvm.remove(), self.collector.remove(), self.home.remove()

    def order(self, *words):
        self.jvm.tell(" ".join(map(str, words)))
        self.jvm.expect("done")

    def dump(self):
        """Another JVM of this user's that dumps within the same two seconds is named instead."""
        own = f"javacore{self.jvm.process.pid}."
        return wait_until("a dump of its own", lambda: (
            path if (path := self.dump_once()).name.startswith(own) else None))

    def dump_once(self):
        self.jvm.tell("dump")
        result, path, offset = self.jvm.expect("dump ").split(" ")
        self.jvm.expect("done")
        assert (result, offset) == ("0", "0"), self.jvm.stderr()
        return pathlib.Path(path)

    def javacores(self):
        return sorted(self.jvm.cwd.glob("javacore*"))

    def stacks(self):
        """{name: (env, [class.method])} as Java sees them."""
        file = self.jvm.cwd / "stacks.txt"
        self.order("stacks", file)
        found, frames = {}, None
        for line in file.read_text(encoding="utf-8").splitlines():
            if "|" in line:
                name, env = line.split("|")
                frames = []
                found[name] = (env, frames)
            else:
                frames.append(line)
        return found


class Dumps(unittest.TestCase):
    def assertWhole(self, path, expected):
        seen = {t.name: t for t in read(path)}
        self.assertEqual(read_back(path, [env for env, _ in expected.values()]),
                         dict(expected.values()))
        for name, (env, frames) in expected.items():
            thread = seen[name]
            self.assertEqual(thread.env, env, name)
            self.assertEqual(thread.frames, frames, name)
            kind = name.split()[0]
            if kind != "native":  # the JVM tells native methods of its own library otherwise
                self.assertEqual(thread.state, STATES[kind], name)
        monitor = next(m for _, m in seen["main"].locked if "java.lang.Object" in m)
        self.assertIn("waiting for " + monitor.split("locked ")[1], seen["blocked 0"].header)

    def test_five_hundred_threads(self):
        with Server(EACH, "-Xcheck:jni") as server:
            expected = server.stacks()
            self.assertEqual(len(expected), 3 * EACH)
            self.assertGreater(len(expected["parked 0"][1]), 3000)
            path = server.dump()
            self.assertEqual(path.parent, server.jvm.cwd)
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o600)
            tasks = set(map(int, os.listdir(f"/proc/{server.jvm.process.pid}/task")))
            for thread in read(path):
                self.assertIn(thread.native_id, tasks | {0}, thread.name)
            self.assertWhole(path, expected)
            before = len(server.javacores())
            server.jvm.process.send_signal(signal.SIGQUIT)
            wait_until("the signal's dump", lambda: len(server.javacores()) > before)
            newest = server.javacores()[-1]
            self.assertWhole(newest, expected)
            for locations in LOCATIONS:
                wait_until("it is named", lambda: str(newest) in locations.read_text())
            self.assertEqual(server.jvm.end(), 0, server.jvm.stderr())
            self.assertNotIn("WARNING in native", "".join(server.jvm.output) + server.jvm.stderr())

    def test_dump_directory(self):
        with tempfile.TemporaryDirectory() as directory:
            with Server(1, env={"NORVIK_JAVACOREDIR": directory}) as server:
                self.assertEqual(server.dump().parent, pathlib.Path(directory))
        with Server(1, env={"NORVIK_JAVACOREDIR": directory}) as server:
            self.assertEqual(server.dump().parent, server.jvm.cwd, "it is gone")

    def test_every_100_ms_under_load(self):
        with Server(20) as server:
            server.order("load")
            for count in range(1, 41):
                server.jvm.process.send_signal(signal.SIGQUIT)
                wait_until("one more dump", lambda: len(server.javacores()) >= count)
            server.order("stop")
            for path in server.javacores():
                names = [t.name for t in read(path)]
                self.assertLessEqual({f"{k} {i}" for k in STATES for i in range(20)}, set(names))
            figures = drained(server.jvm)
            self.assertGreater(figures["sent"], 0)
            assert_balanced(self, figures)
            self.assertEqual(server.jvm.end(), 0, server.jvm.stderr())
            self.assertEqual(server.jvm.crash_files(), [])

    def test_all_kinds_in_turn_under_requests(self):
        """The clock ticks every 100 ms; what takes longer lets ticks pass."""
        home, collector = Home(), Collector().start()
        jvm = Jvm("Workload", 8, 0, 3, home=home.path, port=collector.port,
                  options=[OWN_DUMPS_TO_STDERR])

        def look(order):
            jvm.tell(order)
            result, micros, requests = map(int, jvm.expect("looked ").split())
            self.assertEqual(result, 0, jvm.stderr())
            return micros, requests

        def javacore():
            count = len(list(jvm.cwd.glob("javacore*")))
            jvm.process.send_signal(signal.SIGQUIT)
            wait_until("a javacore", lambda: len(list(jvm.cwd.glob("javacore*"))) > count)

        try:
            jvm.expect("ready")
            longest, turns, start = {"snapshot": 0, "dump": 0}, 0, time.monotonic()
            while time.monotonic() < start + SECONDS or turns == 0:
                for kind in ("snapshot", "javacore", "dump"):
                    if kind == "javacore":
                        javacore()
                    else:
                        longest[kind] = max(longest[kind], look(kind)[0])
                    before = look("count")[1]
                    time.sleep(0.1 - (time.monotonic() - start) % 0.1)
                    wait_until("requests go on", lambda: look("count")[1] > before)
                turns += 1
            jvm.tell("stop")
            requests = int(jvm.expect("done "))
            figures = drained(jvm)
            print(f"{turns} turns, {requests} requests, longest in us {longest}, {figures}")
            assert_balanced(self, figures)
            self.assertGreaterEqual(figures["created"], requests * 8)
            self.assertEqual(jvm.end(), 0, jvm.stderr())
            self.assertEqual(jvm.crash_files(), [])
        finally:
            jvm.remove(), collector.remove(), home.remove()


if __name__ == "__main__":
    unittest.main()
