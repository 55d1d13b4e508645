"""What the agent does with the monitoring interface in a real JVM: the callbacks that it registers,
and its work on a server's extension directories when the server's start-up class is loaded."""

import os
import pathlib
import shutil

from harness import CLASSES, Driver, WholePath
from waiting import wait_until

LISTENING = pathlib.Path(os.environ["VELORA_LISTENING_AGENT"])  # the agent, and a switch of its own
OLD = "/srv/ext:/srv/more"
HOOK = pathlib.Path("com", "velora", "av5", "bootstrap", "CustomCLAV.class")
FOUR = {"GCStarted", "GCStopped", "ThreadStarted", "ThreadStopped"}


class Monitoring(WholePath):
    def setUp(self):
        super().setUp()
        self.collector = self.collect()

    def serve(self, *options, old=(f"-Dav.ext.dirs={OLD}",)):
        return self.start(Driver, "ServerStart", "com.velora.probe.ProbeController", agent=LISTENING,
                          port=self.collector.port,
                          options=["-Xcheck:jni", "-Dam.appserver=app1", *old, *options])

    def listen(self, jvm, wanted):
        self.assertEqual(jvm.ask("ServerStart.listen", wanted), "true")

    def assertState(self, jvm, orders, expected):
        """The state after the last of these orders."""
        for order in orders:
            jvm.ask("ServerStart." + order)
        self.assertEqual(jvm.ask("ServerStart.state"), expected)

    def extended(self, extra=""):
        home = self.home.path
        return f"{home}/lib/monitored/app1/:{home}/lib/ext:{extra}:{OLD}"

    def test_only_a_registered_class_load_changes_anything(self):
        jvm = self.serve()
        self.assertState(jvm, ["work", "server"], f"{OLD} hooks 0")
        self.listen(jvm, True)
        self.assertState(jvm, ["work"], f"{OLD} hooks 0")
        self.assertState(jvm, ["launcher"], f"{self.extended()} hooks 1")
        self.assertEndsWell(jvm)

    def test_with_extra_directories_and_no_longer_registered(self):
        jvm = self.serve("-Dam.ext.dirs=/x:/y")
        self.listen(jvm, True)
        self.assertState(jvm, ["server"], f"{self.extended('/x:/y')} hooks 1")
        self.listen(jvm, False)
        self.assertState(jvm, ["launcher"], f"{self.extended('/x:/y')} hooks 1")
        self.assertEndsWell(jvm)

    def test_a_hook_that_only_the_boot_class_path_shows(self):
        boot = self.home.path / "boot"
        (boot / HOOK.parent).mkdir(parents=True)
        for hooks in (0, 1):
            jvm = self.serve(f"-Xbootclasspath/a:{boot}")
            self.listen(jvm, True)
            self.assertState(jvm, ["reflect"], f"{self.extended()} hooks {hooks}")
            self.assertEndsWell(jvm)
            self.assertNotIn("CustomCLAV", jvm.stderr())  # most servers have no hook
            shutil.copy(pathlib.Path(CLASSES) / HOOK, boot / HOOK)

    def test_a_server_without_directories_is_left_alone(self):
        jvm = self.serve(old=())
        self.listen(jvm, True)
        self.assertState(jvm, ["server"], "null hooks 0")
        self.assertEndsWell(jvm)

    def test_a_hook_that_fails_costs_no_class(self):
        jvm = self.serve("-Dhook.fails=true")
        self.listen(jvm, True)
        self.assertState(jvm, ["server"], f"{self.extended()} hooks 1")
        self.assertEndsWell(jvm)
        self.assertIn("IllegalStateException: the hook fails", jvm.stderr())

    def test_nothing_happens_once_the_probe_stops(self):
        jvm = self.serve()
        self.listen(jvm, True)
        jvm.ask("com.velora.probe.ProbeController.stopNativeProbe")
        self.assertState(jvm, ["server"], f"{OLD} hooks 0")
        self.assertEndsWell(jvm)

    def test_the_agent_itself_hears_of_threads_and_collections_alone(self):
        settings = self.home.path / "etc" / "vel-klglog.properties"
        with settings.open("a", encoding="utf-8") as file:
            file.write("\nlogger.dc.trace.level = mid\n")
        jvm = self.serve()
        jvm.ask("ServerStart.work")
        trace = self.home.path / "logs" / "VEL" / "logs" / "trace-dc.log"

        def heard():
            text = trace.read_text(encoding="utf-8", errors="replace")
            return {word.split("(")[0] for word in text.split("VelJvmmi::")[1:]}

        wait_until("all four are heard", lambda: FOUR <= heard())
        self.assertNotIn("ClassLoad", heard())
        self.listen(jvm, True)
        jvm.ask("ServerStart.server")
        self.assertIn("ClassLoad", heard())
        self.assertEndsWell(jvm)
