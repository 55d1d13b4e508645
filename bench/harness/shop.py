"""The demo's shop on Tomcat, with the agent in one of several ways or without it."""

import contextlib
import dataclasses
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time

from harness.process import BUILD, Failed, agent_options, home, own_logs
from waiting import free_port

TOMCAT = pathlib.Path("/usr/share/tomcat10")
OLD_CLASSES = BUILD / "tests" / "real" / "instrument" / "old"
UP = "Server startup in"


@dataclasses.dataclass(frozen=True)
class Way:
    """How the server runs."""
    name: str
    agent: bool = True
    web: bool = True  # the filter and the driver, which pass everything through without the agent
    level: int = 2
    settings: tuple = ()
    agent_options: str = ""
    hook_off: bool = False  # a loader and a proxy are rewritten first, then it is done


NONE = Way("none", agent=False, web=False)
WEB_ONLY = Way("filter and driver", agent=False)
LEVEL_1 = Way("level 1", level=1, settings=(("internal.disable.nestedrequests", "YES"),))
LEVEL_2 = Way("level 2")
HOOK_OFF = Way("level 2, hook off", hook_off=True)
LIBRARY_ONLY = Way("library only", agent_options="java=off")

PREFIX = "com.norvik.corvane.jiti.jvmpi."
DEFINE = "(Ljava/lang/String;[BII)Ljava/lang/Class;:0:1:2:3:4"
PROXY_DEFINE = "(Ljava/lang/ClassLoader;Ljava/lang/String;[BII)Ljava/lang/Class;:0:1:2:3:4"
REWRITING = (f"{PREFIX}instrumentDefineClass=true\n"
             f"{PREFIX}classLoader=p.SystemLoader:java.lang.ClassLoader:defineClass:{DEFINE}\n"
             f"{PREFIX}proxy=p.ProxyMaker:p.ProxyMaker:defineClass0:{PROXY_DEFINE}\n")


def lay_out(base, way, port):
    shutil.copytree(BUILD / "demo" / "tomcat", base, symlinks=True)
    edit(base / "conf" / "server.xml",
         ("@PORT@", str(port)), ('maxThreads="20"', 'maxThreads="20" maxKeepAliveRequests="-1"'))
    if not way.web:
        (base / "lib" / "velora-web.jar").unlink()
        edit(base / "conf" / "Catalina" / "localhost" / "shop.xml",
             ("com.velora.web.jdbc.VeloraDriver", "org.h2.Driver"), ("jdbc:velora:", "jdbc:"))


def edit(path, *changes):
    text = path.read_text(encoding="utf-8")
    for old, new in changes:
        if old not in text:
            raise Failed(f"{path} has no {old}")
        text = text.replace(old, new)
    path.write_text(text, encoding="utf-8")


class Shop:
    """A running server. `wall` and `cpu`: seconds until it said that it was up."""

    def __init__(self, way, place, base, port, sink_port, options):
        self.way, self.port, self.home = way, port, place
        environment = {**own_logs(place), "CATALINA_HOME": str(TOMCAT), "CATALINA_BASE": str(base),
                       "CATALINA_OUT": os.devnull}
        environment.pop("ZETRELJITI_PROPS", None)
        options = list(options)
        if way.agent:
            options += agent_options(place, sink_port, way.agent_options)
        if way.hook_off:
            options.append("-Djava.system.class.loader=p.SystemLoader")
            (place / "instrument.properties").write_text(REWRITING)
            environment["ZETRELJITI_PROPS"] = str(place / "instrument.properties")
            (base / "bin").mkdir()
            (base / "bin" / "setenv.sh").write_text(f"CLASSPATH={OLD_CLASSES}\n")
        environment["CATALINA_OPTS"] = " ".join(options)
        started = time.monotonic()
        self.process = subprocess.Popen(
            [TOMCAT / "bin" / "catalina.sh", "run"], cwd=base, env=environment, text=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        said = []
        for line in self.process.stdout:
            said.append(line)
            if UP in line:
                break
        else:
            raise Failed(f"Tomcat ended ({way.name}):\n{''.join(said[-20:])}")
        self.wall, self.cpu = time.monotonic() - started, self.cpu_seconds()
        # Read on, or the server would wait for room in the pipe.
        self.reader = threading.Thread(target=self.process.stdout.read, daemon=True)
        self.reader.start()

    def cpu_seconds(self):
        ticks = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(ticks[11]) + int(ticks[12])) / os.sysconf("SC_CLK_TCK")

    def stop(self):
        """Does nothing the second time."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            self.process.wait(60)
        self.reader.join()

    def losses(self):
        """What the agent lost by its own account, what the end of the server cut off excepted.
        Only once the server has stopped."""
        if not self.way.agent:
            return {}
        counters = list((self.home / "logs").glob("*.counters"))
        if not counters:
            raise Failed(f"the agent left no counters ({self.way.name})")
        found = dict(re.findall(r"^lost\.(\w+)=(\d+)$", counters[0].read_text(), re.M))
        return {cause: int(n) for cause, n in found.items() if int(n) and cause != "shutdown"}


@contextlib.contextmanager
def running(way, sink_port, options=()):
    port = free_port()
    settings = dict(way.settings)
    with home(settings, way.level) as place, \
            tempfile.TemporaryDirectory(prefix="velora-tomcat-") as scratch:
        base = pathlib.Path(scratch) / "base"
        lay_out(base, way, port)
        shop = Shop(way, place, base, port, sink_port, options)
        try:
            yield shop
        finally:
            shop.stop()
            shop.process.kill()
