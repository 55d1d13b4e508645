"""The bridge under a small JVMPI client: the roads into the library and what is said and set on
each, what the client is told, and the end of the JVM while its threads are inside our code."""

import os
import pathlib
import subprocess

from harness import JDK, PATIENCE, Jvm, WholePath

LIBRARY = pathlib.Path(os.environ["VELORA_TEST_LIBRARY"])
HOME = LIBRARY.parent.parent
BY_NAME = {"LD_LIBRARY_PATH": str(LIBRARY.parent)}
SAID = ["Victim says replaced", "monitors while loading: ok", "odd numbers answer 1 1 1 1",
        f"starter in {LIBRARY.parent} loader null", "JVMMI saw Victim"]
UNSAID = ["JVMPI, an experimental interface", "is empty", "unknown JVMPI", "wrong version",
          "wrong argument", "while the JVM loads", "after shut-down"]
SETTINGS = {"default": [], "serial": ["-XX:+UseSerialGC"], "z": ["-XX:+UseZGC"],
            "checked": ["-Xcheck:jni"]}


class Bridge(WholePath):
    def launch(self, *program, options=(), env=None, **how):
        env = {"KLGLOG_COMMON_DIR": None, **(env or {})}
        jvm = Jvm(*program, options=options, env=env, **{"agent": LIBRARY, **how})
        self.addCleanup(jvm.remove)
        return jvm

    def run_victim(self, *options, status=0, **how):
        """Its standard output and its standard error."""
        jvm = self.launch("Victim", options=options, **how)
        self.assertEndsWell(jvm, status)
        return jvm.stdout(), jvm.stderr()

    def assertWorks(self, out):
        for text in SAID:
            self.assertIn(text, out)
        for fault in UNSAID:
            self.assertNotIn(fault, out)

    def assertInOrder(self, text, *parts):
        places = [text.find(part) for part in parts]
        self.assertNotIn(-1, places, text)
        self.assertEqual(places, sorted(places), text)

    def test_roads(self):
        agent = f"-agentpath:{LIBRARY}"
        picked_up = f"Picked up JAVA_TOOL_OPTIONS: {agent}\n"
        for options, env, lines in (
                ([agent], {}, 0), (["-agentlib:bridge_probe"], BY_NAME, 0),
                ([], {"JAVA_TOOL_OPTIONS": agent}, 0), ([agent, "-Xrunbridge_probe"], BY_NAME, 0),
                ([agent, agent], {}, 1)):
            with self.subTest(options=options, env=env):
                out, err = self.run_victim(*options, env=env, agent=None)
                self.assertWorks(out)
                self.assertEqual(err.replace(picked_up, "").count("\n"), lines, err)
                self.assertEqual(out.count("probe loads"), 1)
                self.assertEqual("second load ignored" in out, "-Xrunbridge_probe" in options)
                self.assertInOrder(out, "init done", "starter in", "Victim says", "shut down")
                self.assertNotIn("init done, 0 classes", out)

    def test_xrun_alone_is_refused_in_one_line(self):
        out, err = self.run_victim("-Xrunbridge_probe", env=BY_NAME, agent=None, status=1)
        self.assertInOrder(err, "velora: ", f"-agentpath:{LIBRARY.parent}/")
        self.assertEqual(err.count("velora: "), 1, err)
        self.assertNotIn("JVMPI", out)

    def test_attach_to_a_running_server(self):
        jvm = self.launch("Server", agent=None, env={"PROBE_MODE": "attach"},
                          options=["-XX:+EnableDynamicAgentLoading"])
        jvm.expect("ready")
        subprocess.run([JDK / "bin" / "jcmd", str(jvm.process.pid), "JVMTI.agent_load", LIBRARY],
                       check=True, timeout=PATIENCE, stdout=subprocess.DEVNULL)
        jvm.tell("go on")
        jvm.expect("PASS")
        self.assertEndsWell(jvm)
        self.assertWorks(jvm.stdout())

    def test_an_agent_that_does_not_load_leaves_the_server_running(self):
        out, err = self.run_victim(env={"PROBE_MODE": "load=fail"})
        self.assertIn("Victim says original", out)
        for part in ("init done", "starter", "shut down"):
            self.assertNotIn(part, out)
        self.assertEqual(err.count("\n"), 1, err)

    def test_options(self):
        out, err = self.run_victim(agent_options="java=off,other=1,debug=on,strange")
        self.assertIn("options 'debug=on,other=1,strange'", out)
        self.assertNotIn("starter", out)
        self.assertEqual(err, "velora: unknown options: other,strange\n")
        self.assertEqual(self.run_victim(agent_options="quiet,other")[1], "")
        out, err = self.run_victim(agent_options="help")
        self.assertIn("options '(null)'", out)
        self.assertIn("java=on|off", err)

    def test_a_failing_java_side_is_reported_and_cleared(self):
        out, err = self.run_victim("-Dstarter.fails=1")
        self.assertIn("Victim says replaced", out)
        self.assertIn("as asked", err)
        self.assertIn("velora: the agent's Java side", err)

    def test_a_forgetful_hook_handler_is_harmless(self):
        self.assertIn("Victim says original", self.run_victim(env={"PROBE_MODE": "hook=forget"})[0])

    def test_settings_reach_the_agent(self):
        tool = {"JAVA_TOOL_OPTIONS": "-Dam.home=/h -Dam.nodename=n1"}
        usual_root_writable = os.access("/var/norvik/corvane/common", os.W_OK)
        logs = [] if usual_root_writable else [f"KLGLOG_COMMON_DIR={HOME}/logs"]
        for why, options, env, seen in (
                ("the installation is the home", [], {},
                 [f"am.home={HOME}", "am.nodename=(unset)", *logs]),
                ("hidden from the agent", [], tool, ["am.home=/h", "am.nodename=n1"]),
                ("the agent reads the command line itself", ["-Dam.home=/h"], {},
                 ["am.home=(unset)"]),
                ("variables come first", [],
                 {**tool, "am.nodename": "mine", "KLGLOG_COMMON_DIR": "/k"},
                 ["am.nodename=mine", "KLGLOG_COMMON_DIR=/k"])):
            with self.subTest(why):
                out = self.run_victim(*options, env=env)[0]
                for setting in seen:
                    self.assertIn(f"env {setting}\n", out)

    def test_what_the_client_is_told(self):
        """As Java programs see it: each checks itself and prints PASS."""
        for name, options in SETTINGS.items():
            for program in (["Threads"], ["Classes"], ["GcStress", "40"], ["Monitoring"]):
                with self.subTest(setting=name, program=program):
                    jvm = self.launch(*program, options=options)
                    self.assertEndsWell(jvm)
                    self.assertIn("PASS", jvm.stdout())
                    self.assertNotIn("after shut-down", jvm.stdout())

    def test_ends(self):
        """No crash, no other exit status, and no event once the client was told of the end."""
        for way, status, runs_hooks in (("return", 0, True), ("exit", 7, True), ("halt", 9, False)):
            for churn in (["churn"], []) * 5:
                with self.subTest(way=way, churn=churn):
                    jvm = self.launch("Exits", way, *churn)
                    self.assertEndsWell(jvm, status)
                    self.assertIn("shut down", jvm.stdout())
                    self.assertNotIn("after shut-down", jvm.stdout())
                    self.assertEqual("hook ran" in jvm.stdout(), runs_hooks)
                    self.assertEqual(jvm.stderr(), "")
