"""Whatever is wrong around the agent: the server starts, serves and stops, and one message tells."""

import os
import pathlib
import shutil
import socket
import unittest

from harness import Home, Jvm, free_port


class Hostile(unittest.TestCase):
    def serves(self, *, home, says=None, **jvm_options):
        """Runs a server that must end as it would alone, with the texts of `says` in its output."""
        jvm = Jvm("Plain", home=home, port=jvm_options.pop("port", free_port()), **jvm_options)
        try:
            status = jvm.end()
            text = "".join(jvm.output) + jvm.stderr()
            self.assertEqual(status, 3, text)
            self.assertIn("served 1000", text)
            self.assertEqual(jvm.crash_files(), [], text)
            if says:
                self.assertIn(says, text)
        finally:
            jvm.remove()

    def with_home(self, spoil, says=None, **jvm_options):
        home = Home()
        try:
            spoil(home)
            self.serves(home=home.path, says=says, **jvm_options)
        finally:
            home.remove()

    def test_homes(self):
        self.serves(home="/nonexistent/velora", says="/nonexistent/velora")
        self.serves(home="/proc")  # exists, and nobody may create a file there

        def unreadable(home):  # a loop of links stops root as well
            for name in ("etc", "logs"):
                shutil.rmtree(home.path / name)
                (home.path / name).symlink_to(home.path / name)
        self.with_home(unreadable)

    def test_home_is_a_file(self):
        self.serves(home=pathlib.Path(__file__))

    def test_settings_files(self):
        def replace(make):
            def spoil(home):
                home.settings.unlink()
                make(home.settings)
            return spoil

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
                self.with_home(replace(make))

    def test_identity_values_of_every_length(self):
        home = Home()
        try:
            for length in (0, 255, 256, 1024, 100_000):
                keys = ("am.nodename", "am.appserver", "am.profilename", "am.ext.dirs")
                with self.subTest(length=length):
                    self.serves(home=home.path, options=[f"-D{k}=" + "x" * length for k in keys])
                with self.subTest(key="am.home", length=length):
                    self.serves(home="/" + "h" * length)
        finally:
            home.remove()

    def test_collector_that_never_reads(self):
        with socket.create_server(("127.0.0.1", 0), backlog=1) as deaf:
            deaf.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            self.with_home(lambda home: None, port=deaf.getsockname()[1])

    def test_toolkit_missing(self):
        home = Home()
        lib = home.path / "lib"
        try:
            lib.mkdir()
            source = pathlib.Path(os.environ["VELORA_DIST"]) / "lib"
            for name in ("libvelora.so", "velora-boot.jar"):
                shutil.copy(source / name, lib)
            self.serves(home=home.path, agent=False, says="Could not load libklglog.so",
                        options=[f"-agentpath:{lib}/libvelora.so"])
        finally:
            home.remove()


if __name__ == "__main__":
    unittest.main()
