"""Every request and statement that the application made arrives, once, well formed and nested."""

import collections
import unittest

from harness import Collector, Home, Jvm, assert_nested, wait_until


def ledger(text):
    """The loss report as numbers: lines of "name: number" or "name=number"."""
    words = text.replace("=", " ").replace(":", " ").split()
    return {a: int(b) for a, b in zip(words, words[1:]) if b.lstrip("-").isdigit()}


def assert_balanced(test, figures):
    causes = sum(v for k, v in figures.items() if k.startswith("lost."))
    test.assertEqual(figures["lost"], causes, figures)
    test.assertEqual(figures["created"], figures["sent"] + figures["lost"] + figures["queued"], figures)


def drained(jvm):
    """Waits until nothing is on its way any more and returns the ledger then."""
    def rest():
        jvm.tell("report")
        figures = ledger(jvm.expect("report "))
        return figures if figures["queued"] == 0 else None
    return wait_until("all events have left", rest)


def run(threads, requests, statements, **settings):
    home, collector = Home(**settings), Collector("--strict").start()
    jvm = Jvm("Workload", threads, requests, statements, home=home.path, port=collector.port,
              options=["-Xcheck:jni"])
    try:
        jvm.expect("done ")
        figures = drained(jvm)
        status = jvm.end()
        collector.stop()
        return list(collector.records()), figures, status, "".join(jvm.output) + jvm.stderr()
    finally:
        jvm.remove(), collector.remove(), home.remove()


class Counts(unittest.TestCase):
    def check(self, threads, requests, statements, **settings):
        records, figures, status, text = run(threads, requests, statements, **settings)
        kinds = collections.Counter(r["record"] for r in records)
        total = threads * requests
        self.assertEqual(kinds["SERVLET_REQUEST_START"], total, figures)
        self.assertEqual(kinds["SERVLET_REQUEST_END"], total)
        self.assertEqual(kinds["SQL_START"], total * statements)
        self.assertEqual(kinds["SQL_END"], total * statements)
        self.assertFalse([r for r in records if r["record"] == "MALFORMED"])
        assert_nested(self, records)
        assert_balanced(self, figures)
        self.assertEqual(status, 0)
        self.assertNotIn("WARNING in native", text)
        self.assertNotIn("FATAL ERROR in native", text)

    def test_one_thread(self):
        self.check(1, 400, 3)

    def test_twenty_threads(self):
        self.check(20, 60, 3)

    def test_two_event_agents_and_two_network_agents(self):
        self.check(20, 60, 3, eventagent__pool__size=2, networkagent__pool__size=2)


if __name__ == "__main__":
    unittest.main()
