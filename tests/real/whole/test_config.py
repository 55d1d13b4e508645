"""What an operator sees of the instrumentation configuration file and of the JIT option."""

import zipfile

from harness import Jvm, WholePath

PREFIX = "com.norvik.corvane.jiti.jvmpi."


class Config(WholePath):
    def run_server(self, **env):
        """One start; returns its standard output and its operator messages."""
        env["KLGLOG_COMMON_DIR"] = str(self.home.path)
        jvm = self.start(Jvm, "SkipOption", env=env)
        self.assertEndsWell(jvm)
        log = self.home.path / "VEL" / "logs" / "msg-dc.log"
        return jvm.stdout(), log.read_text(encoding="utf-8")

    def test_files(self):
        path = self.home.path / "zetrel.properties"
        cases = {
            None: f" 1210 Instrumentation defaults are used: {path} cannot be read",
            f"# ours\n{PREFIX}classLoader = my.Loader:defineClass\n":
                f" 1211 Classes are not instrumented while they load: {path}, line 2, "
                f"{PREFIX}classLoader: nine fields",
            f"{PREFIX}statistics=true\n": None,
        }
        told = 0
        for text, message in cases.items():
            if text is not None:
                path.write_text(text)
            log = self.run_server(ZETRELJITI_PROPS=str(path))[1][told:]
            told += len(log)
            with self.subTest(text):
                self.assertIn(message or "", log)
                self.assertEqual(log.count(" 1210 ") + log.count(" 1211 "), int(bool(message)))

    def test_the_option(self):
        apps = self.home.path / "apps"
        classes = apps / "web.war" / "WEB-INF" / "classes" / "com" / "acme"
        classes.mkdir(parents=True)
        (classes / "A.class").touch()
        (apps / "loop").symlink_to(apps)
        (apps / "broken.jar").write_text("no archive")
        with zipfile.ZipFile(apps / "shop.jar", "w") as archive:
            for name in ("shop/Cart.class", "org/apache/X.class", "zoo/Z.class"):
                archive.writestr(zipfile.ZipInfo(name), b"")
        self.home.set(internal__app__ext__dir=apps)
        output, log = self.run_server(JITC_COMPILEOPT="OPT")
        self.assertIn("option OPT:SKIP{com/acme/*}{*}{shop/*}{*}\n", output)
        self.assertIn(f" 1213 Application scan of {apps}: 4 classes and 1 archives, "
                      "3 package patterns", log)
