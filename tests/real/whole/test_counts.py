"""Every request and statement that the application made arrives, once, well formed and nested."""

import collections
import os
import signal
import time

from harness import Driver, WholePath
from waiting import wait_until

RESTARTS = int(os.environ.get("VELORA_RESTARTS", "50"))


def events(kinds):
    return sum(n for kind, n in kinds.items()
               if not kind.startswith(("INIT", "HEADER", "MALFORMED")))


class Counts(WholePath):
    def check(self, threads, requests, statements, flushed=False, **settings):
        self.home.set(**settings)
        collector = self.collect("--strict")
        jvm = self.start(Driver, "Workload", port=collector.port, options=["-Xcheck:jni"])
        jvm.ask("Workload.start", threads, requests, statements)
        jvm.ask("Workload.finish")
        figures = jvm.report() if flushed else jvm.drained()
        self.assertEndsWell(jvm)
        collector.stop()
        records = list(collector.records())
        kinds = collections.Counter(r["record"] for r in records)
        for kind, each in (("SERVLET_REQUEST", 1), ("SQL", statements)):
            for part in ("_START", "_END"):
                self.assertEqual(kinds[kind + part], threads * requests * each, (kind, figures))
        self.assertEqual(kinds["MALFORMED"], 0)
        self.assertNested(records)

    def test_one_thread(self):
        self.check(1, 400, 3)

    def test_twenty_threads(self):
        self.check(20, 60, 3)

    def test_two_event_agents_and_two_network_agents(self):
        self.check(20, 60, 3, eventagent__pool__size=2, networkagent__pool__size=2)

    def test_what_waits_at_the_end_is_flushed(self):
        self.check(1, 400, 3, flushed=True, internal__probe__publishing__frequency=2000)


class Restart(WholePath):
    """The collector is killed and comes back, again and again, while requests run."""

    def test_every_event_is_accounted_for(self):
        collector = self.collect()
        jvm = self.start(Driver, "Workload", port=collector.port)
        jvm.ask("Workload.start", 4, 0, 2)
        received = collections.Counter()
        for round_ in range(RESTARTS):
            wait_until(f"records in round {round_}", lambda: self.connected(collector))
            time.sleep(0.05 * (round_ % 4))  # dies at varied moments of a cycle
            collector.stop(signal.SIGKILL)
            self.assertInitFirst(collector)
            received.update(r["record"] for r in collector.records())
            collector.json.write_text("")
            collector.start()
        requests = int(jvm.ask("Workload.finish"))
        figures = jvm.drained()
        self.assertEndsWell(jvm)
        collector.stop()
        received.update(r["record"] for r in collector.records())
        self.assertGreater(requests, RESTARTS)
        self.assertGreaterEqual(figures["created"], requests * 6)
        # What a killed collector had in its socket was sent and never decoded, so it holds at most
        # what was sent.
        self.assertLessEqual(events(received), figures["sent"])

    @staticmethod
    def connected(collector):
        return any(r["record"] == "SERVLET_REQUEST_START" for r in collector.records())

    def assertInitFirst(self, collector):
        first = collections.defaultdict(list)
        for record in collector.records():
            first[record["conn"]].append(record["record"])
        for names in first.values():
            self.assertEqual(names[:2], ["INIT", "INIT_J2EE"])
            self.assertIn("SAMPLING_RATE", names)
