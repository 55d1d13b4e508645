"""What an operator sees of the instrumentation configuration file and of the JIT option."""

import pathlib
import unittest
import zipfile

from harness import Home, Jvm, free_port

PREFIX = "com.norvik.corvane.jiti.jvmpi."


class Config(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.remove)

    def run_server(self, **env):
        """One start; returns its standard output and its operator messages."""
        env["KLGLOG_COMMON_DIR"] = str(self.home.path)
        jvm = Jvm("SkipOption", home=self.home.path, port=free_port(), env=env)
        try:
            self.assertEqual(jvm.end(), 0, jvm.stderr())
            self.assertEqual(jvm.crash_files(), [])
            log = self.home.path / "VEL" / "logs" / "msg-dc.log"
            return "".join(jvm.output), log.read_text(encoding="utf-8")
        finally:
            jvm.remove()

    def with_file(self, text):
        path = self.home.path / "zetrel.properties"
        if text is not None:
            path.write_text(text)
        return path, self.run_server(ZETRELJITI_PROPS=str(path))[1]

    def test_a_good_file(self):
        _, log = self.with_file(f"{PREFIX}statistics=true\n")
        self.assertNotIn(" 1210 ", log)
        self.assertNotIn(" 1211 ", log)

    def test_an_error(self):
        path, log = self.with_file(f"# ours\n{PREFIX}classLoader = my.Loader:defineClass\n")
        self.assertIn("ERROR logger.dc.msg", log)
        self.assertIn(f" 1211 Classes are not instrumented while they load: {path}, line 2, "
                      f"{PREFIX}classLoader: nine fields", log)

    def test_a_missing_file(self):
        path, log = self.with_file(None)
        self.assertIn(f" 1210 Instrumentation defaults are used: {path} cannot be read", log)

    def test_the_option(self):
        apps = self.home.path / "apps"
        classes = apps / "web.war" / "WEB-INF" / "classes" / "com" / "acme"
        classes.mkdir(parents=True)
        (classes / "A.class").touch()
        (apps / "loop").symlink_to(apps)
        (apps / "broken.jar").write_text("no archive")
        self.pack(apps / "shop.jar", ["shop/Cart.class", "org/apache/X.class", "zoo/Z.class"])
        self.home.set(internal__app__ext__dir=apps)
        output, log = self.run_server(JITC_COMPILEOPT="OPT")
        self.assertIn("option OPT:SKIP{com/acme/*}{*}{shop/*}{*}\n", output)
        self.assertIn(f" 1213 Application scan of {apps}: 4 classes and 1 archives, "
                      "3 package patterns", log)

    @staticmethod
    def pack(path: pathlib.Path, names):
        with zipfile.ZipFile(path, "w") as archive:
            for name in names:
                archive.writestr(zipfile.ZipInfo(name), b"")


if __name__ == "__main__":
    unittest.main()
