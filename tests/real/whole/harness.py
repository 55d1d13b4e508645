"""Starts the pieces of a whole path (JVM with agent, collector) and reads what came out of them.

Everything here waits for a state with a generous bound, never for a time: a bound that is hit is a
failure, not a slow machine.
"""

import collections
import contextlib
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile
import time

DIST = pathlib.Path(os.environ["VELORA_DIST"])
CLASSES = os.environ["VELORA_TEST_CLASSES"]
JDK = pathlib.Path(os.environ.get("VELORA_TEST_JDK", os.environ["VELORA_JDK"]))
PATIENCE = 60  # seconds after which something hangs


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def wait_until(what, condition, seconds=PATIENCE):
    deadline = time.monotonic() + seconds
    while not (result := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f"still not after {seconds} s: {what}")
        time.sleep(0.02)
    return result


def assert_nested(test, records):
    """On each thread every end has the depth and the kind of its begin, and the begins count up."""
    running = collections.defaultdict(list)
    for r in records:
        if "depth" not in r:
            continue
        calls, kind = running[r["conn"], r["thread"]], r["record"][:3]
        if r["record"].endswith("START"):
            calls.append(kind)
        test.assertEqual((r["depth"], kind), (len(calls), calls[-1] if calls else None), r)
        if not r["record"].endswith("START"):
            calls.pop()
    test.assertEqual([c for c in running.values() if c], [])


class Home:
    """An agent home of its own for one test, with the settings the test wants."""

    def __init__(self, **settings):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="velora-home-"))
        for name in ("etc", "logs", "msg"):
            if (DIST / name).is_dir() and name != "logs":
                shutil.copytree(DIST / name, self.path / name)
            else:
                (self.path / name).mkdir()
        self.settings = self.path / "etc" / "datacollector.properties"
        self.set(**settings)

    def set(self, **settings):
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
        self.process = None

    def start(self):
        self.process = subprocess.Popen(
            [DIST / "bin" / "velora-collect", "--listen", f"127.0.0.1:{self.port}",
             "--json", str(self.json), *self.options],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        wait_until("the collector listens", self._listening)
        return self

    def _listening(self):
        if self.process.poll() is not None:
            raise AssertionError("the collector ended: " + self.process.stderr.read())
        listening = f":{self.port:04X} 00000000:0000 0A"
        return listening in pathlib.Path("/proc/net/tcp").read_text()

    def stop(self, how=signal.SIGTERM):
        if self.process and self.process.poll() is None:
            self.process.send_signal(how)
            self.process.wait(PATIENCE)
        if self.process:
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

    def __init__(self, main, *args, home=None, port=None, agent=True, options=(), env=None,
                 agent_options="", jdk=None, user=None, library=DIST / "lib" / "libvelora.so"):
        command = [(jdk or JDK) / "bin" / "java", "-Xmx256m"]
        if agent:
            command.append(f"-agentpath:{library}"
                           + (f"={agent_options}" if agent_options else ""))
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
            [*map(str, command), *options, "-cp", CLASSES, main, *map(str, args)],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.errors, text=True,
            errors="replace", cwd=self.cwd, env=env,
            user=user, extra_groups=None if user is None else [])
        self.output = []

    def expect(self, prefix):
        """Reads standard output until a line with this prefix; returns the rest of that line."""
        for line in self.process.stdout:
            self.output.append(line)
            if line.startswith(prefix):
                return line[len(prefix):].strip()
        raise AssertionError(f"no line {prefix!r}; output: {''.join(self.output)}"
                             f" errors: {self.stderr()}")

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def end(self, seconds=PATIENCE):
        """Waits for the end; returns the exit status. A JVM that hangs fails the test."""
        with contextlib.suppress(OSError):
            self.process.stdin.close()
        self.output.extend(self.process.stdout)
        try:
            return self.process.wait(seconds)
        except subprocess.TimeoutExpired as hang:
            raise AssertionError("the JVM does not end: " + self.stderr()) from hang

    def stderr(self):
        return (self.cwd / "stderr.txt").read_text(encoding="utf-8", errors="replace")

    def crash_files(self):
        return [p.name for p in self.cwd.iterdir()
                if p.name.startswith(("hs_err", "core", "replay"))]

    def remove(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        for stream in (self.process.stdin, self.process.stdout, self.errors):
            with contextlib.suppress(OSError):
                stream.close()
        shutil.rmtree(self.cwd, ignore_errors=True)
