"""The JVM ends at a random moment, in every way it can end, and the agent does not get in the way."""

import os
import random
import signal
import time

from harness import Jvm, WholePath
from waiting import free_port

EXITS = int(os.environ.get("VELORA_EXITS", "100"))
EXPECTED = {"exit": 7, "halt": 7, "return": 0, "signal": 128 + signal.SIGTERM}


class Exit(WholePath):
    def test_random_moments(self):
        chance = random.Random(20)
        collector = self.collect()
        for number in range(EXITS):
            way = list(EXPECTED)[number % len(EXPECTED)]
            delay = chance.randrange(0, 400)
            port = collector.port if number % 3 else free_port()
            with self.subTest(way=way, number=number):
                jvm = self.start(Jvm, "ExitAt", way, delay, port=port)
                jvm.expect("running")
                if way == "signal":
                    time.sleep(delay / 1000)
                    jvm.process.terminate()
                self.assertEndsWell(jvm, EXPECTED[way])
                jvm.remove()
