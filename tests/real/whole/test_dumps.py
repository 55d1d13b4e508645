"""Javacore files of many threads, against what Java says of them; dumps under load."""

import os
import pathlib
import re
import signal
import stat
import subprocess
import tempfile

from harness import Driver, WholePath
from waiting import wait_until

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


def javacores(jvm):
    return sorted(jvm.cwd.glob("javacore*"))


class Dumps(WholePath):
    def serve(self, each, *options, env=None):
        self.home.set(internal__stacktrace__sleep=300)
        jvm = self.start(Driver, "Dumps", "Workload", port=self.collect().port, env=env,
                         options=[*options, OWN_DUMPS_TO_STDERR])
        jvm.ask("Dumps.pose", each)
        return jvm

    def dump(self, jvm):
        """Another JVM of this user's that dumps within the same two seconds is named instead."""
        def own():
            result, path, offset = jvm.ask("Dumps.dump").split(" ")
            self.assertEqual((result, offset), ("0", "0"), jvm.stderr())
            path = pathlib.Path(path)
            return path if path.name.startswith(f"javacore{jvm.process.pid}.") else None
        return wait_until("a dump of its own", own)

    def dump_on_signal(self, jvm):
        before = len(javacores(jvm))
        jvm.process.send_signal(signal.SIGQUIT)
        wait_until("the signal's dump", lambda: len(javacores(jvm)) > before)
        return javacores(jvm)[-1]

    def stacks(self, jvm):
        """{name: (env, [class.method])} as Java sees them."""
        file = jvm.cwd / "stacks.txt"
        jvm.ask("Dumps.writeStacks", str(file))
        found = {}
        for line in file.read_text(encoding="utf-8").splitlines():
            if "|" in line:
                name, env = line.split("|")
                found[name] = (env, [])
            else:
                found[name][1].append(line)
        return found

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
        monitor = next(m for _, m in seen["holder"].locked if "java.lang.Object" in m)
        self.assertIn("waiting for " + monitor.split("locked ")[1], seen["blocked 0"].header)

    def test_five_hundred_threads(self):
        jvm = self.serve(EACH, "-Xcheck:jni")
        expected = self.stacks(jvm)
        self.assertEqual(len(expected), 3 * EACH)
        self.assertGreater(len(expected["parked 0"][1]), 3000)
        path = self.dump(jvm)
        self.assertEqual(path.parent, jvm.cwd)
        self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o600)
        tasks = set(map(int, os.listdir(f"/proc/{jvm.process.pid}/task")))
        for thread in read(path):
            self.assertIn(thread.native_id, tasks | {0}, thread.name)
        self.assertWhole(path, expected)
        newest = self.dump_on_signal(jvm)
        self.assertWhole(newest, expected)
        for locations in LOCATIONS:
            wait_until("it is named", lambda: str(newest) in locations.read_text())
        self.assertEndsWell(jvm)

    def test_dump_directory(self):
        with tempfile.TemporaryDirectory() as directory:
            env = {"NORVIK_JAVACOREDIR": directory}
            self.assertEqual(self.dump(self.serve(1, env=env)).parent, pathlib.Path(directory))
        jvm = self.serve(1, env=env)
        self.assertEqual(self.dump(jvm).parent, jvm.cwd, "it is gone")

    def test_all_kinds_while_requests_and_threads_come_and_go(self):
        jvm = self.serve(20)
        jvm.ask("Workload.start", 4, 0, 3)
        jvm.ask("Dumps.churn")
        for turn in range(40):
            names = {t.name for t in read(self.dump_on_signal(jvm))}
            self.assertLessEqual({f"{kind} {i}" for kind in STATES for i in range(20)}, names)
            if turn % 4 == 0:
                self.assertEqual(jvm.ask("Dumps.heap"), "0 0", jvm.stderr())
        requests = int(jvm.ask("Workload.finish"))
        self.assertGreaterEqual(jvm.drained()["created"], requests * 8)
        self.assertGreater(requests, 40)
        self.assertEndsWell(jvm)
