"""A real servlet container, real HTTP requests, real SQL: each arrives decoded, once."""

import collections
import concurrent.futures
import http.client
import os
import pathlib
import shutil
import subprocess
import tempfile

from harness import AGENT, COMPLAINT, JDK, WholePath
from waiting import free_port, wait_until

SHOP = pathlib.Path(os.environ["VELORA_DEMO_TOMCAT"])
TOMCAT = pathlib.Path("/usr/share/tomcat10")
# What one GET of /item does: the page, and the two servlets that it includes, one statement each.
SERVLETS = ("/item", "/head", "/stock")
STATEMENTS = ("SELECT name, price FROM item WHERE id = ?", "SELECT COUNT(*) FROM item",
              "SELECT pieces FROM stock WHERE item = ?")


class Shop:
    def __init__(self, home, collector):
        self.base = pathlib.Path(tempfile.mkdtemp(prefix="velora-tomcat-"))
        shutil.copytree(SHOP, self.base, dirs_exist_ok=True)
        self.port = free_port()
        server = self.base / "conf" / "server.xml"
        server.write_text(server.read_text().replace("@PORT@", str(self.port)))
        self.log = open(self.base / "tomcat.log", "w+", encoding="utf-8", errors="replace")
        options = [f"-agentpath:{AGENT}", f"-Dam.home={home.path}", "-Xcheck:jni",
                   f"-Dvelora.publish.address=127.0.0.1:{collector.port}"]
        self.process = subprocess.Popen(
            [TOMCAT / "bin" / "catalina.sh", "run"], stdin=subprocess.DEVNULL, stdout=self.log,
            stderr=subprocess.STDOUT, cwd=self.base,
            env={**os.environ, "JAVA_HOME": str(JDK), "CATALINA_HOME": str(TOMCAT),
                 "KLGLOG_COMMON_DIR": str(home.path / "logs"),
                 "CATALINA_BASE": str(self.base), "CATALINA_OPTS": " ".join(options)})

    def text(self):
        return (self.base / "tomcat.log").read_text(encoding="utf-8", errors="replace")

    def get(self, path):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        try:
            connection.request("GET", "/shop" + path)
            answer = connection.getresponse()
            answer.read()
            return answer.status
        except OSError:
            return None
        finally:
            connection.close()

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
        return self.process.wait(60)

    def remove(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.log.close()
        shutil.rmtree(self.base, ignore_errors=True)


class Tomcat(WholePath):
    def test_each_request_and_each_statement(self):
        for threads, requests in ((1, 60), (20, 400)):
            with self.subTest(threads=threads):
                self.check(threads, requests)

    def check(self, threads, requests):
        collector = self.collect("--strict")
        shop = Shop(self.home, collector)
        self.addCleanup(shop.remove)
        wait_until("the shop answers", lambda: shop.get("/item?id=1") == 200)
        with concurrent.futures.ThreadPoolExecutor(threads) as users:
            answers = users.map(lambda n: shop.get(f"/item?id={n % 5 + 1}"), range(requests))
            self.assertEqual(collections.Counter(answers), {200: requests})
        shop.stop()
        collector.stop()
        self.assertEqual(collector.process.returncode, 0, "malformed input")
        begun = collections.Counter(r.get("request_name") or r.get("sql")
                                    for r in collector.records() if r["record"].endswith("_START"))
        for what in SERVLETS + STATEMENTS:
            self.assertEqual(begun[what], requests + 1, what)
        self.assertNested(collector.records())
        self.assertNotRegex(shop.text(), COMPLAINT)
