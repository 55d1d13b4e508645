"""The class-load hook from end to end: what a real JVM loads, verifies and runs of what the agent
makes of classes of Java 1.4."""

import pathlib
import subprocess

from harness import CLASSES, JARS, JDK, Jvm, WholePath

PREFIX = "com.norvik.corvane.jiti.jvmpi."
DEFINE = "defineClass:(Ljava/lang/String;[BII)Ljava/lang/Class;:0:1:2:3:4"
PROXY = ("p.ProxyMaker:p.ProxyMaker:defineClass0:"
         "(Ljava/lang/ClassLoader;Ljava/lang/String;[BII)Ljava/lang/Class;:0:1:2:3:4")
STRICT = ["-Xverify:all", "-Xcheck:jni"]
TRACED = ["-XX:TraceJVMTI=ec+s", "-Xlog:jvmti=trace"]
OFF = "Disabling event ClassFileLoadHook"


class Hook(WholePath):
    def configure(self, loader):
        """A configuration file that names a loader and the proxy, with dumps to the scratch
        directory; its path."""
        path = self.home.path / "instrument.properties"
        path.write_text(f"{PREFIX}instrumentDefineClass=true\n"
                        f"{PREFIX}classLoader={loader}:java.lang.ClassLoader:{DEFINE}\n"
                        f"{PREFIX}proxy={PROXY}\n"
                        f"{PREFIX}dumpClasses=true\n{PREFIX}dumpPath={self.home.path}\n")
        return path

    def java(self, *program, flags=(), configuration=None):
        jvm = self.start(
            Jvm, *program, classes=f"{CLASSES}/run:{CLASSES}/old",
            env={"ZETRELJITI_PROPS": configuration and str(configuration)},
            options=[f"-Dproducts={CLASSES}/products", f"-Xbootclasspath/a:{JARS[0]}", *flags])
        self.assertEndsWell(jvm)
        return jvm

    def steps(self, *steps, **how):
        """The lines of a run of HookRun."""
        how.setdefault("flags", STRICT)
        return self.java("HookRun", *steps, **how).stdout().splitlines()

    def disassembled(self, name):
        text = subprocess.run([JDK / "bin" / "javap", "-v", "-p", self.home.path / f"{name}.class"],
                              capture_output=True, text=True, check=True)
        self.assertNotIn("rror", text.stderr)
        return text.stdout

    def test_old_classes_are_handed_over_once_the_server_starts(self):
        lines = self.steps("instrument", "load=weblogic.Server", "say=p.Victim")
        self.assertIn("offered p.Victim by hook from 0", lines)
        self.assertIn("p.Victim says woven", lines)

    def test_before_the_servers_start_they_pass(self):
        lines = self.steps("instrument", "say=p.Victim", "load=weblogic.Server")
        self.assertIn("p.Victim says plain", lines)

    def test_rewritten_loader_and_proxy_let_the_java_side_change_what_they_define(self):
        lines = self.steps("instrument", "loader=p.PlainLoader", "proxy", "load=weblogic.Server",
                           "say=p.Victim", configuration=self.configure("p.PlainLoader"))
        self.assertEqual([line for line in lines if "p." in line], [
            "offered p.Product by p.PlainLoader from 3", "p.Product says woven",
            "offered p.Product by jdk.internal.loader.ClassLoaders$AppClassLoader from 3",
            "p.Product says woven",
            "p.Victim says plain"])
        for name, method in (("p.PlainLoader", "velprobe$defineClass"),
                             ("p.ProxyMaker", "velprobe$defineClass0")):
            text = self.disassembled(name)
            self.assertIn(method, text)
            self.assertIn("BcmBootstrap.instrumentClassStatic", text)

    def test_without_an_instrumenter_they_define_what_they_did(self):
        lines = self.steps("loader=p.PlainLoader", "proxy",
                           configuration=self.configure("p.PlainLoader"))
        self.assertEqual(lines.count("p.Product says plain"), 2)
        self.assertIn("velprobe$defineClass", self.disassembled("p.PlainLoader"))

    def test_an_instrumenter_that_fails_costs_no_class(self):
        done = self.java("HookRun", "fail", "load=weblogic.Server", "proxy", "say=p.Victim",
                         flags=STRICT, configuration=self.configure("p.NoSuchLoader"))
        self.assertIn("p.Product says plain", done.stdout())
        self.assertIn("p.Victim says plain", done.stdout())
        for name in ("p.Product", "p.Victim"):
            self.assertIn(f"AssertionError: no {name}", done.stderr())

    def test_a_loader_that_knows_no_class_format_error(self):
        lines = self.steps("instrument", "loader=p.BareLoader",
                           configuration=self.configure("p.BareLoader"))
        self.assertIn("offered p.Product by p.BareLoader from 3", lines)
        self.assertIn("p.Product says woven", lines)

    def test_what_is_no_class_is_told_and_left_to_the_jvm(self):
        lines = self.steps("instrument", "load=weblogic.Server", "broken", "say=p.Victim",
                           configuration=self.configure("p.NoSuchLoader"))
        self.assertEqual([line for line in lines if "p." in line or line == "refused"],
                         ["offered p.PlainLoader by hook from 0", "refused", "refused",
                          "offered p.Victim by hook from 0", "p.Victim says woven"])
        logs = self.home.path / "logs" / "VEL" / "logs"
        log = (logs / "msg-dc.log").read_text(encoding="utf-8")
        self.assertEqual(log.count("Bad class file magic CAFEBABF"), 1)
        self.assertEqual(log.count("Class file corrupt"), 1)
        victim = pathlib.Path(CLASSES, "old", "p", "Victim.class").read_bytes()
        self.assertEqual((self.home.path / "BadClass.class").read_bytes(),
                         victim[:len(victim) // 2])

    def test_the_hook_goes_off_in_the_jvm_when_both_are_rewritten(self):
        lines = self.steps("loader=p.PlainLoader", "load=weblogic.Server", "proxy", "load=p.Victim",
                           flags=TRACED,
                           configuration=self.configure("p.PlainLoader"))
        off = next(i for i, line in enumerate(lines) if OFF in line)
        said = [i for i, line in enumerate(lines) if line == "p.Product says plain"]
        self.assertLess(said[0], off)
        self.assertLess(off, said[1])

    def test_classes_are_rewritten_before_the_jvm_is_up(self):
        lines = self.steps("instrument", "system", "proxy",
                           flags=[*STRICT, *TRACED, "-Djava.system.class.loader=p.SystemLoader"],
                           configuration=self.configure("p.SystemLoader"))
        self.assertIn("offered p.Product by p.SystemLoader from 3", lines)
        self.assertEqual(lines.count("p.Product says woven"), 2)
        off = next(i for i, line in enumerate(lines) if OFF in line)
        self.assertLess(off, lines.index("main"))  # refused then, made up for at VM init
