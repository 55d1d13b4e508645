"""velora-doctor looks at real servers: a healthy one, and what may be wrong with others."""

import json
import os
import pathlib
import pwd
import shutil
import subprocess
import unittest

from harness import AGENT, DIST, JDK, PATIENCE, Driver, Jvm, WholePath
from waiting import free_port, wait_until

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


class Doctor(WholePath):
    def serve(self, **how):
        jvm = self.start(Driver, "Workload", **how)
        jvm.ask("Workload.start", 1, 50, 2)
        jvm.ask("Workload.finish")
        return jvm

    def test_a_healthy_server(self):
        collector = self.collect()
        jvm = self.serve(port=collector.port)
        pid = jvm.process.pid
        counters = self.home.path / "logs" / f"defaultnode.appserver.{pid}.counters"
        wait_until("the agent counts its events", counters.exists)

        def healthy():
            report = doctor(pid)
            return report if report["well"] and values(report, "events")["created"] else None

        report = wait_until("all is well, with events", healthy)
        self.assertEqual(finding(report, "library"), f"{AGENT} is loaded")
        for check, key, value in (
                ("jvm", "interfaces", "JVMTI"), ("home", "home", str(self.home.path)),
                ("settings", "path", str(self.home.settings)), ("level", "level", 2),
                ("publish", "connected", True), ("probe", "started", True), ("events", "lost", 0)):
            self.assertEqual(values(report, check)[key], value, check)
        self.assertIn("1008 am.nodename system property is undefined",
                      finding(report, "messages", "note"))
        jvm.drained()  # nothing was disturbed
        self.assertEndsWell(jvm)
        collector.stop()
        self.assertFalse([r for r in collector.records() if r["record"] == "MALFORMED"])

    def test_no_publish_server(self):
        port = free_port()
        report = doctor(self.serve(port=port).process.pid)
        self.assertEqual(finding(report, "publish", "wrong"),
                         f"127.0.0.1:{port} (system property velora.publish.address)"
                         " does not answer: Connection refused")
        self.assertEqual(finding(report, "probe", "ok"), "has started")

    def test_no_agent_and_an_idle_one(self):
        jvm = self.start(Jvm, "Waits", agent=None)
        jvm.expect("ready")
        self.assertEqual(finding(doctor(jvm.process.pid), "library", "wrong"),
                         f"no agent: the JVM's options lack -agentpath:{AGENT}")
        jvm = self.start(Jvm, "Waits", agent_options="java=off")
        jvm.expect("ready")
        for check in ("java side", "probe"):
            self.assertIn("java=off", finding(doctor(jvm.process.pid), check, "note"))

    @unittest.skipUnless(IS_ROOT, "only root can start a server for somebody else")
    def test_another_users_process(self):
        report = doctor(self.serve().process.pid, user=NOBODY)
        self.assertEqual(finding(report, "rights", "wrong"),
                         "user nobody has no right to see of this process: environment, memory"
                         " map; run the doctor as root or as user root")

    def test_a_home_that_the_servers_user_may_not_enter_or_write_to(self):
        home, user = self.home.path, NOBODY if IS_ROOT else None
        os.chmod(home, 0o755)
        for name in ("etc", "logs"):
            os.chmod(home / name, 0o555)
            self.addCleanup(os.chmod, home / name, 0o755)
        report = doctor(self.serve(user=user).process.pid)
        for name in ("etc", "logs"):
            self.assertIn(f"{home}/{name} may not be written by user ",
                          finding(report, "rights", "wrong"))
        self.assertTrue(finding(report, "settings", "ok"))
        os.chmod(home, 0o700 if IS_ROOT else 0)
        self.addCleanup(os.chmod, home, 0o700)
        report = doctor(self.serve(user=user).process.pid)
        self.assertIn(f"{home} may not be entered", finding(report, "home", "wrong"))
        self.assertIn("Permission denied", finding(report, "settings", "wrong"))
        self.assertIn("is loaded", finding(report, "library", "ok"))

    def test_a_command_that_is_not_run(self):
        library = self.home.path / "lib" / "libvelora.so"
        shutil.copytree(DIST / "lib", library.parent)
        for file in library.parent.iterdir():
            file.chmod(0o755)  # what others may write is not tried

        def report():
            return doctor("--", JDK / "bin" / "java", f"-agentpath:{library}",
                          f"-Dvelora.publish.address=localhost:{free_port()}", "-jar", "absent.jar")

        whole = report()
        for check, state, text in (
                ("library", "ok", "can be loaded"), ("toolkit", "ok", "can be loaded"),
                ("home", None, str(self.home.path)), ("publish", "wrong", "Connection refused")):
            self.assertIn(text, finding(whole, check, state))
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
