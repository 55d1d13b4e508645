"""Whatever is wrong around the agent: the server starts, serves and stops, and one message tells."""

import os
import pathlib
import shutil
import socket

from harness import DIST, Jvm, WholePath


class Hostile(WholePath):
    def serves(self, says="", **how):
        """Runs a server that must end as it would alone, with the text `says` in its output."""
        jvm = self.start(Jvm, "Plain", **how)
        self.assertEndsWell(jvm, status=3)
        self.assertIn("served 1000", jvm.stdout())
        self.assertIn(says, jvm.text())

    def test_homes(self):
        self.serves(home="/nonexistent/velora", says="/nonexistent/velora")
        self.serves(home="/proc")  # exists, and nobody may create a file there
        self.serves(home=pathlib.Path(__file__))
        for name in ("etc", "logs"):  # a loop of links stops root as well
            shutil.rmtree(self.home.path / name)
            (self.home.path / name).symlink_to(self.home.path / name)
        self.serves()

    def test_settings_files(self):
        huge = "key = " + "v" * 100 + "\n"
        cases = {
            "malformed": lambda p: p.write_bytes(b"=\n==\n\0\0=\xff\xfe\n" + bytes(range(256)) * 50),
            "huge": lambda p: p.write_text(huge * 500_000),
            "one long line": lambda p: p.write_text("k=" + "v" * 5_000_000),
            "a directory": lambda p: p.mkdir(),
            "a FIFO": lambda p: os.mkfifo(p),
            "absurd": lambda p: p.write_text(
                "internal.probe.publishing.frequency=0\nnetworkagent.publish.frequency=-5\n"
                "internal.probe.event.packet.size=99999999999\neventagent.pool.size=-1\n"
                "networkagent.pool.size=1000000000\ninternal.memory.limit=-9\n"
                "networkagent.buffer.limit=0\ninternal.probe.event.queue.size.limit=-1\n"),
        }
        for why, make in cases.items():
            with self.subTest(why):
                home = self.new_home()
                home.settings.unlink()
                make(home.settings)
                self.serves(home=home.path)

    def test_identity_values_of_every_length(self):
        for length in (0, 255, 256, 1024, 100_000):
            keys = ("am.nodename", "am.appserver", "am.profilename", "am.ext.dirs")
            with self.subTest(length=length):
                self.serves(options=[f"-D{k}=" + "x" * length for k in keys])
                self.serves(home="/" + "h" * length)

    def test_collector_that_never_reads(self):
        with socket.create_server(("127.0.0.1", 0), backlog=1) as deaf:
            deaf.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            self.serves(port=deaf.getsockname()[1])

    def test_toolkit_missing(self):
        lib = self.home.path / "lib"
        lib.mkdir()
        for name in ("libvelora.so", "velora-boot.jar"):
            shutil.copy(DIST / "lib" / name, lib)
        self.serves(agent=lib / "libvelora.so", says="Could not load libklglog.so")
