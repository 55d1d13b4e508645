"""A portal's method names reach the server again, once each, with every new connection."""

import os
import signal
import unittest

from harness import Collector, Home, Jvm, wait_until

CONNECTIONS = int(os.environ.get("VELORA_CONNECTIONS", "8"))
NAMES = [(5, "Action.login"), (128, "Action.\u00e4ndern")]


class Portal(unittest.TestCase):
    def test_each_connection_gets_the_names_once(self):
        home, collector = Home(), Collector("--strict").start()
        jvm = Jvm("Portal", home=home.path, port=collector.port, options=["-Xcheck:jni"])
        try:
            jvm.expect("ready")
            self.acting(collector)
            # The portal may have been as quick as the first connection.
            self.assertIn(self.names(collector), ([], NAMES))
            for number in range(CONNECTIONS):
                # Killed in the middle, or told to end: the agent sees the one as the other.
                collector.stop(signal.SIGKILL if number % 2 else signal.SIGTERM)
                collector.json.write_text("")
                collector.start()
                wait_until("the names arrive", lambda: self.names(collector))
                self.acting(collector)
                self.assertEqual(self.names(collector), NAMES, f"connection {number}")
            self.assertEqual(jvm.end(), 0)
            text = "".join(jvm.output) + jvm.stderr()
            self.assertNotIn("WARNING in native", text)
        finally:
            jvm.remove(), collector.remove(), home.remove()

    def test_names_wait_for_the_event_agent(self):
        home, collector = Home(), Collector("--strict").start()
        jvm = Jvm("Portal", home=home.path, port=collector.port, options=["-Xcheck:jni"])
        try:
            jvm.expect("ready")
            self.acting(collector)
            jvm.tell("restart")
            jvm.expect("restarted")
            collector.json.write_text("")
            log = "Successfully connected to PS socket"
            wait_until("the second connection", lambda: self.logged(home).count(log) == 2)
            jvm.tell("events")
            wait_until("the names arrive", lambda: self.names(collector))
            self.acting(collector)
            self.assertEqual(self.names(collector), NAMES)
            self.assertEqual(jvm.end(), 0)
        finally:
            jvm.remove(), collector.remove(), home.remove()

    @staticmethod
    def logged(home):
        return (home.path / "logs" / "VEL" / "logs" / "msg-dc.log").read_text()

    @staticmethod
    def acting(collector):
        """Two more rounds of the agent have come in, so whatever waited has too."""
        def packets():
            return sum(r["record"] == "HEADER" for r in collector.records())
        enough = packets() + 2
        wait_until("more packets", lambda: packets() >= enough)

    @staticmethod
    def names(collector):
        return sorted((r["methodId"], r["methodName"]) for r in collector.records()
                      if r["record"] == "PORTAL_METHOD_CONSTANT")


if __name__ == "__main__":
    unittest.main()
