"""A real servlet container, real HTTP requests, real SQL: each arrives decoded, once."""

import collections
import concurrent.futures
import http.client
import os
import pathlib
import shutil
import signal

from harness import Jvm, WholePath
from waiting import free_port, wait_until

SHOP = pathlib.Path(os.environ["VELORA_DEMO_TOMCAT"])
TOMCAT = "/usr/share/tomcat10"
# What one GET of /item does: the page, and the two servlets that it includes, one statement each.
SERVLETS = ("/item", "/head", "/stock")
STATEMENTS = ("SELECT name, price FROM item WHERE id = ?", "SELECT COUNT(*) FROM item",
              "SELECT pieces FROM stock WHERE item = ?")


def get_item(port, number):
    """The status of one request; None where nobody answers."""
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=60)
    try:
        connection.request("GET", f"/shop/item?id={number}")
        answer = connection.getresponse()
        answer.read()
        return answer.status
    except OSError:
        return None
    finally:
        connection.close()


class Tomcat(WholePath):
    def shop(self, port, collector):
        base = self.new_home().path / "shop"
        shutil.copytree(SHOP, base)
        server = base / "conf" / "server.xml"
        server.write_text(server.read_text().replace("@PORT@", str(port)))
        return self.start(
            Jvm, "org.apache.catalina.startup.Bootstrap", "start", port=collector.port,
            classes=f"{TOMCAT}/bin/bootstrap.jar:{TOMCAT}/bin/tomcat-juli.jar",
            options=["-Xcheck:jni", f"-Dcatalina.home={TOMCAT}", f"-Dcatalina.base={base}"])

    def check(self, threads, requests):
        collector, port = self.collect("--strict"), free_port()
        shop = self.shop(port, collector)
        wait_until("the shop answers", lambda: get_item(port, 1) == 200)
        with concurrent.futures.ThreadPoolExecutor(threads) as users:
            answers = users.map(lambda n: get_item(port, n % 5 + 1), range(requests))
            self.assertEqual(collections.Counter(answers), {200: requests})
        shop.process.terminate()
        self.assertEndsWell(shop, 128 + signal.SIGTERM)
        collector.stop()
        self.assertEqual(collector.process.returncode, 0, "malformed input")
        begun = collections.Counter(r.get("request_name") or r.get("sql")
                                    for r in collector.records() if r["record"].endswith("_START"))
        for what in SERVLETS + STATEMENTS:
            self.assertEqual(begun[what], requests + 1, what)
        self.assertNested(collector.records())

    def test_one_user(self):
        self.check(1, 60)

    def test_twenty_users(self):
        self.check(20, 400)
