"""Starts what a benchmark runs: a home of the agent, a receiver that discards, a JVM."""

import contextlib
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import threading

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("VELORA_BUILD", REPOSITORY / "build" / "release")).resolve()
DIST = BUILD / "dist"
PATIENCE = 120  # seconds after which something hangs
sys.path.append(str(REPOSITORY / "tests" / "support"))


class Failed(Exception):
    """A measurement that could not be made, or that measured something else."""


def build():
    """Brings the release build, and what only the benchmarks need, up to date."""
    if not (BUILD / "build.ninja").exists():
        quietly(["cmake", "--preset", "release"])
    quietly(["ninja", "-C", BUILD, "bench"])


def quietly(command):
    done = subprocess.run([str(word) for word in command], cwd=REPOSITORY, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if done.returncode:
        raise Failed(f"{command[0]} failed:\n{done.stdout[-3000:]}")


def java():
    """The JDK that the build uses."""
    cache = (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")
    return pathlib.Path(re.search(r"^VELORA_JDK:PATH=(.*)$", cache, re.M)[1]) / "bin" / "java"


@contextlib.contextmanager
def home(settings=None, level=None):
    """An installation's settings with these changes, and logs of its own."""
    with tempfile.TemporaryDirectory(prefix="velora-bench-") as path:
        path = pathlib.Path(path)
        for part in ("etc", "msg"):
            shutil.copytree(DIST / part, path / part)
        (path / "logs").mkdir()
        with open(path / "etc" / "datacollector.properties", "a", encoding="ascii") as file:
            file.writelines(f"{key}={value}\n" for key, value in (settings or {}).items())
        if level:
            (path / "etc" / "defaultnode.appserver.am.mod").write_text(f"{level}\n")
        yield path


class Sink:
    """Accepts connections and throws away what comes: a receiver that takes next to no processor
    time, so that a measurement on few cores is not one of the receiver."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.bytes = 0
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        with contextlib.suppress(OSError):
            while True:
                connection, _ = self.listener.accept()
                threading.Thread(target=self._discard, args=(connection,), daemon=True).start()

    def _discard(self, connection):
        buffer = bytearray(1 << 20)
        with contextlib.suppress(OSError):
            while count := connection.recv_into(buffer):
                self.bytes += count

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.listener.close()


def agent_options(home_path, port, options=""):
    suffix = f"={options}" if options else ""
    return [f"-agentpath:{DIST}/lib/libvelora.so{suffix}", f"-Dam.home={home_path}",
            f"-Dvelora.publish.address=127.0.0.1:{port}"]


def own_logs(home_path):
    """Never where the machine's other servers log."""
    return {**os.environ, "KLGLOG_COMMON_DIR": str(home_path / "logs")}
