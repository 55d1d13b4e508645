"""The JVM ends at a random moment, in every way it can end, and the agent does not get in the way."""

import os
import random
import signal
import time
import unittest

from harness import Collector, Home, Jvm, free_port

EXITS = int(os.environ.get("VELORA_EXITS", "100"))
EXPECTED = {"exit": 7, "halt": 7, "return": 0, "signal": 128 + signal.SIGTERM}


class Exit(unittest.TestCase):
    def end_one(self, way, delay, home, port):
        jvm = Jvm("ExitAt", way, delay, home=home.path, port=port)
        try:
            jvm.expect("running")
            if way == "signal":
                time.sleep(delay / 1000)
                jvm.process.terminate()
            status = jvm.end()
            self.assertEqual(status, EXPECTED[way], jvm.stderr())
            self.assertEqual(jvm.crash_files(), [], jvm.stderr())
        finally:
            jvm.remove()

    def test_random_moments(self):
        chance = random.Random(20)
        home, collector = Home(), Collector().start()
        try:
            for number in range(EXITS):
                way = list(EXPECTED)[number % len(EXPECTED)]
                port = collector.port if number % 3 else free_port()
                with self.subTest(way=way, number=number):
                    self.end_one(way, chance.randrange(0, 400), home, port)
        finally:
            collector.remove(), home.remove()


if __name__ == "__main__":
    unittest.main()
