"""What the agent does with the monitoring interface in a real JVM: the callbacks that it registers,
and its work on a server's extension directories when the server's start-up class is loaded."""

import os
import pathlib
import shutil
import unittest

from harness import CLASSES, Collector, Home, Jvm, wait_until

LISTENING = pathlib.Path(os.environ["VELORA_LISTENING_AGENT"])  # the agent, and a switch of its own
OLD = "/srv/ext:/srv/more"
HOOK = pathlib.Path("com", "velora", "av5", "bootstrap", "CustomCLAV.class")
FOUR = ["GCStarted", "GCStopped", "ThreadStarted", "ThreadStopped"]


class Monitoring(unittest.TestCase):
    def setUp(self):
        self.home, self.collector = Home(), Collector().start()
        self.addCleanup(self.home.remove)
        self.addCleanup(self.collector.remove)

    def start(self, *options, old=OLD):
        options = ["-Xcheck:jni", "-Dam.appserver=app1", *options]
        if old is not None:
            options.append(f"-Dav.ext.dirs={old}")
        self.jvm = Jvm("ServerStart", home=self.home.path, port=self.collector.port,
                       options=options, library=LISTENING)
        self.addCleanup(self.jvm.remove)
        self.jvm.expect("ready")

    def after(self, *orders):
        """The state after the last of these orders."""
        for order in orders:
            self.jvm.tell(order)
            state = self.jvm.expect("state ")
        return state

    def extended(self, extra="", old=OLD):
        home = self.home.path
        return f"{home}/lib/monitored/app1/:{home}/lib/ext:{extra}:{old}"

    def end(self):
        self.assertEqual(self.jvm.end(), 0, self.jvm.stderr())
        for fault in ("WARNING in native", "WARNING: JNI", "FATAL"):
            self.assertNotIn(fault, "".join(self.jvm.output) + self.jvm.stderr())

    def test_only_a_registered_class_load_changes_anything(self):
        self.start()
        self.assertEqual(self.after("work", "server"), f"{OLD} hooks 0")
        self.assertEqual(self.after("listen", "work"), f"{OLD} hooks 0")
        self.assertEqual(self.after("launcher"), f"{self.extended()} hooks 1")
        self.end()
        self.assertIn("registered true\n", self.jvm.output)

    def test_with_extra_directories_and_no_longer_registered(self):
        self.start("-Dam.ext.dirs=/x:/y")
        self.assertEqual(self.after("listen", "server"), f"{self.extended('/x:/y')} hooks 1")
        self.assertEqual(self.after("ignore", "launcher"), f"{self.extended('/x:/y')} hooks 1")
        self.end()
        self.assertEqual(self.jvm.output.count("registered true\n"), 2)

    def test_a_hook_that_only_the_boot_class_path_shows(self):
        self.start()
        self.assertEqual(self.after("listen", "reflect"), f"{self.extended()} hooks 0")
        self.end()
        self.assertNotIn("CustomCLAV", self.jvm.stderr())  # most servers have no hook
        boot = self.home.path / "boot"
        (boot / HOOK.parent).mkdir(parents=True)
        shutil.copy(pathlib.Path(CLASSES) / HOOK, boot / HOOK)
        self.start(f"-Xbootclasspath/a:{boot}")
        self.assertEqual(self.after("listen", "reflect"), f"{self.extended()} hooks 1")
        self.end()

    def test_a_server_without_directories_is_left_alone(self):
        self.start(old=None)
        self.assertEqual(self.after("listen", "server"), "null hooks 0")
        self.end()

    def test_a_hook_that_fails_costs_no_class(self):
        self.start("-Dhook.fails=true")
        self.assertEqual(self.after("listen", "server"), f"{self.extended()} hooks 1")
        self.end()
        self.assertIn("IllegalStateException: the hook fails", self.jvm.stderr())

    def test_nothing_happens_once_the_probe_stops(self):
        self.start()
        self.assertEqual(self.after("listen", "stop", "server"), f"{OLD} hooks 0")
        self.end()

    def test_the_agent_itself_hears_of_threads_and_collections_alone(self):
        settings = self.home.path / "etc" / "vel-klglog.properties"
        with settings.open("a", encoding="utf-8") as file:
            file.write("\nlogger.dc.trace.level = mid\n")
        self.start()
        self.after("work")
        trace = self.home.path / "logs" / "VEL" / "logs" / "trace-dc.log"

        def heard():
            text = trace.read_text(encoding="utf-8", errors="replace")
            return sorted({word.split("(")[0] for word in text.split("VelJvmmi::")[1:]})

        wait_until("all four are heard", lambda: set(FOUR) <= set(heard()))
        self.assertNotIn("ClassLoad", heard())
        self.after("listen", "server")
        self.assertIn("ClassLoad", heard())
        self.end()


if __name__ == "__main__":
    unittest.main()
