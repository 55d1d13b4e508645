"""A tracing session for the user-space tracepoints of the benchmark, written to disk."""

import collections
import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import tempfile

from harness.process import BUILD, Failed
from waiting import wait_until

LIBRARY = BUILD / "bench" / "libbench_lttng.so"
EVENT = re.compile(r" velora_bench:(\w+):")


def installed():
    return LIBRARY.exists() and shutil.which("lttng") and shutil.which("lttng-sessiond")


def lttng(*words):
    done = subprocess.run(["lttng", "--no-sessiond", *words], text=True, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return done.returncode == 0, done.stdout


def must(*words):
    good, said = lttng(*words)
    if not good:
        raise Failed(f"lttng {' '.join(words)}: {said}")
    return said


@contextlib.contextmanager
def daemon():
    """The machine's session daemon, or one of our own while it is needed."""
    if lttng("list")[0]:
        yield
        return
    own = subprocess.Popen(["lttng-sessiond", "--no-kernel", "--quiet"], stdin=subprocess.DEVNULL,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        try:
            wait_until("the session daemon answers", lambda: lttng("list")[0])
        except TimeoutError as late:
            raise Failed(str(late)) from late
        yield
    finally:
        own.terminate()
        own.wait()


class Session:
    def __init__(self, directory):
        self.name = f"velora-bench-{os.getpid()}"
        self.directory = pathlib.Path(directory)

    def start(self):
        must("create", self.name, f"--output={self.directory}")
        # Buffers that take a whole burst: what a full one discards would not be measured.
        must("enable-channel", "-u", "-s", self.name, "--subbuf-size=4M", "--num-subbuf=4", "bench")
        must("enable-event", "-u", "-s", self.name, "-c", "bench", "velora_bench:*")
        must("start", self.name)

    def stop(self):
        """What was discarded, and how many of each event the trace has; None without a reader."""
        must("stop", self.name)
        discarded = re.findall(r"Discarded events: (\d+)", must("list", self.name))
        must("destroy", self.name)
        return sum(map(int, discarded)), self._recorded()

    def _recorded(self):
        if not shutil.which("babeltrace2"):
            return None
        reader = subprocess.Popen(["babeltrace2", str(self.directory)], text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        with reader.stdout as lines:
            found = collections.Counter(m[1] for line in lines if (m := EVENT.search(line)))
        if reader.wait():
            raise Failed("babeltrace2 cannot read the trace")
        return found

    def abandon(self):
        lttng("destroy", self.name)


@contextlib.contextmanager
def session():
    """A started session, or None where LTTng is not installed."""
    if not installed():
        yield None
        return
    with daemon(), tempfile.TemporaryDirectory(prefix="velora-lttng-") as directory:
        running = Session(directory)
        try:
            running.start()
            yield running
        finally:
            running.abandon()
