"""The collector is killed and comes back, again and again, while requests run."""

import collections
import os
import signal
import time
import unittest

from harness import Collector, Home, Jvm, wait_until
from test_counts import assert_balanced, drained

RESTARTS = int(os.environ.get("VELORA_RESTARTS", "50"))


class Restart(unittest.TestCase):
    def test_every_event_is_accounted_for(self):
        home, collector = Home(), Collector()
        jvm = Jvm("Workload", 4, 0, 2, home=home.path, port=collector.port)
        received = collections.Counter()
        try:
            for round_ in range(RESTARTS):
                collector.start()
                wait_until(f"records in round {round_}", lambda: self.connected(collector))
                time.sleep(0.05 * (round_ % 4))  # dies at varied moments of a cycle
                collector.stop(signal.SIGKILL)
                self.assertInitFirst(collector)
                received.update(r["record"] for r in collector.records())
                collector.json.write_text("")
            collector.start()
            jvm.tell("stop")
            requests = int(jvm.expect("done "))
            figures = drained(jvm)
            self.assertEqual(jvm.end(), 0)
            collector.stop()
            received.update(r["record"] for r in collector.records())
            self.assertGreater(requests, RESTARTS)
            assert_balanced(self, figures)
            self.assertGreaterEqual(figures["created"], requests * 6)
            # What a killed collector had in its socket was sent and never decoded, so it holds at
            # most what was sent.
            self.assertLessEqual(sum(self.events(received).values()), figures["sent"])
        finally:
            jvm.remove(), collector.remove(), home.remove()

    @staticmethod
    def events(counts):
        return {k: v for k, v in counts.items()
                if not k.startswith(("INIT", "HEADER", "MALFORMED"))}

    @staticmethod
    def connected(collector):
        return any(r["record"] == "SERVLET_REQUEST_START" for r in collector.records())

    def assertInitFirst(self, collector):
        first = {}
        for record in collector.records():
            first.setdefault(record["conn"], []).append(record["record"])
        for names in first.values():
            self.assertEqual(names[:2], ["INIT", "INIT_J2EE"])
            self.assertIn("SAMPLING_RATE", names)


if __name__ == "__main__":
    unittest.main()
