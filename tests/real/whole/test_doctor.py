"""velora-doctor looks at real servers: a healthy one, and what may be wrong with others."""

import json
import os
import pathlib
import pwd
import shutil
import subprocess
import unittest

from harness import DIST, JDK, PATIENCE, Collector, Home, Jvm, free_port, wait_until

NOBODY = pwd.getpwnam("nobody").pw_uid
IS_ROOT = os.geteuid() == 0


def doctor(*arguments, user=None):
    run = subprocess.run([DIST / "bin" / "velora-doctor", "--json", *map(str, arguments)],
                         stdin=subprocess.DEVNULL, capture_output=True, text=True,
                         timeout=PATIENCE, user=user, extra_groups=None if user is None else [])
    report = json.loads(run.stdout)
    assert report["well"] == (run.returncode == 0), run
    return report


def finding(report, check, state=None):
    """The texts of a check's findings, one per line; with a state, those alone."""
    return "\n".join(f["text"] for f in report["findings"]
                     if f["check"] == check and state in (None, f["state"]))


def values(report, check):
    return next(f["values"] for f in report["findings"] if f["check"] == check)


class Doctor(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.remove)

    def server(self, main="Workload", **options):
        jvm = Jvm(main, 1, 50, 2, home=self.home.path, **options)
        self.addCleanup(jvm.remove)
        return jvm

    def counted(self, jvm):
        counters = self.home.path / "logs" / f"defaultnode.appserver.{jvm.process.pid}.counters"
        return wait_until("the agent counts its events", counters.exists)

    def test_a_healthy_server(self):
        collector = Collector().start()
        self.addCleanup(collector.remove)
        jvm = self.server(port=collector.port)
        jvm.expect("done ")
        self.counted(jvm)
        report = wait_until("all is well, with events", lambda: self.healthy(jvm.process.pid))
        self.assertEqual(finding(report, "library"), f"{DIST}/lib/libvelora.so is loaded")
        self.assertEqual(values(report, "jvm")["interfaces"], "JVMTI")
        self.assertEqual(values(report, "home")["home"], str(self.home.path))
        self.assertEqual(values(report, "settings")["path"], str(self.home.settings))
        self.assertEqual(values(report, "level")["level"], 2)
        self.assertTrue(values(report, "publish")["connected"])
        self.assertTrue(values(report, "probe")["started"])
        self.assertEqual(values(report, "events")["lost"], 0)
        self.assertIn("1008 am.nodename system property is undefined",
                      finding(report, "messages", "note"))
        self.assertNothingDisturbed(jvm, collector)

    def healthy(self, pid):
        report = doctor(pid)
        return report if report["well"] and values(report, "events")["created"] else None

    def assertNothingDisturbed(self, jvm, collector):
        jvm.tell("report")
        self.assertIn("created", jvm.expect("report "))
        self.assertEqual(jvm.end(), 0)
        collector.stop()
        self.assertFalse([r for r in collector.records() if r["record"] == "MALFORMED"])

    def test_no_publish_server(self):
        port = free_port()
        jvm = self.server(port=port)
        jvm.expect("done ")
        report = doctor(jvm.process.pid)
        self.assertFalse(report["well"])
        self.assertEqual(finding(report, "publish", "wrong"),
                         f"127.0.0.1:{port} (system property velora.publish.address)"
                         " does not answer: Connection refused")
        self.assertEqual(finding(report, "probe", "ok"), "has started")
        self.assertIn("ok", {f["state"] for f in report["findings"] if f["check"] == "library"})

    def test_no_agent(self):
        jvm = self.server(main="Waits", agent=False)
        jvm.expect("ready")
        report = doctor(jvm.process.pid)
        self.assertEqual(finding(report, "library", "wrong"),
                         f"no agent: the JVM's options lack -agentpath:{DIST}/lib/libvelora.so")

    def test_an_idle_agent(self):
        jvm = self.server(main="Waits", agent_options="java=off", port=free_port())
        jvm.expect("ready")
        report = doctor(jvm.process.pid)
        self.assertIn("java=off", finding(report, "java side", "note"))
        self.assertIn("java=off", finding(report, "probe", "note"))

    def test_another_users_process(self):
        if not IS_ROOT:
            self.skipTest("only root can start a server for somebody else")
        jvm = self.server(port=free_port())
        jvm.expect("done ")
        report = doctor(jvm.process.pid, user=NOBODY)
        self.assertEqual(finding(report, "rights", "wrong"),
                         "user nobody has no right to see of this process: environment, memory"
                         " map; run the doctor as root or as user root")

    def test_a_home_that_the_servers_user_may_not_enter(self):
        os.chmod(self.home.path, 0o700 if IS_ROOT else 0)
        self.addCleanup(os.chmod, self.home.path, 0o700)
        jvm = self.server(port=free_port(), user=NOBODY if IS_ROOT else None)
        jvm.expect("done ")
        report = doctor(jvm.process.pid)
        self.assertIn(f"{self.home.path} may not be entered", finding(report, "home", "wrong"))
        self.assertIn("Permission denied", finding(report, "settings", "wrong"))
        self.assertIn("is loaded", finding(report, "library", "ok"))

    def test_a_home_that_the_servers_user_may_not_write_to(self):
        os.chmod(self.home.path, 0o755)
        for name in ("etc", "logs"):
            os.chmod(self.home.path / name, 0o555)
            self.addCleanup(os.chmod, self.home.path / name, 0o755)
        jvm = self.server(port=free_port(), user=NOBODY if IS_ROOT else None)
        jvm.expect("done ")
        report = doctor(jvm.process.pid)
        for name in ("etc", "logs"):
            self.assertIn(f"{self.home.path}/{name} may not be written by user ",
                          finding(report, "rights", "wrong"))
        self.assertTrue(finding(report, "settings", "ok"))

    def test_a_command_that_is_not_run(self):
        library = self.home.path / "lib" / "libvelora.so"
        shutil.copytree(DIST / "lib", library.parent)
        for file in library.parent.iterdir():
            file.chmod(0o755)  # what others may write is not tried
        port = free_port()

        def report():
            return doctor("--", JDK / "bin" / "java", f"-agentpath:{library}",
                          f"-Dvelora.publish.address=localhost:{port}", "-jar", "absent.jar")

        self.assertIn("can be loaded", finding(report(), "library", "ok"))
        self.assertIn("can be loaded", finding(report(), "toolkit", "ok"))
        self.assertEqual(values(report(), "home")["home"], str(self.home.path))
        self.assertIn("Connection refused", finding(report(), "publish", "wrong"))
        (library.parent / "libklgmsg.so").unlink()
        self.assertIn("libklgmsg.so: No such file", finding(report(), "toolkit", "wrong"))
        self.damage(library)
        self.assertIn("built for aarch64, 64 bits", finding(report(), "library", "wrong"))
        library.write_bytes((library.parent / "libklglog.so").read_bytes())
        self.assertIn("libklgmsg.so: cannot open", finding(report(), "library", "wrong"))
        library.unlink()
        self.assertIn("No such file", finding(report(), "library", "wrong"))
        self.assertFalse(list((self.home.path / "logs").iterdir()))

    @staticmethod
    def damage(library: pathlib.Path):
        machine, aarch64 = 18, 183
        content = bytearray(library.read_bytes())
        content[machine] = aarch64
        library.write_bytes(content)


if __name__ == "__main__":
    unittest.main()
