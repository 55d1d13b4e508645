"""What the agent says of threads in known states, and of those that end while it is asked."""

import unittest

from harness import Home, Jvm, free_port


class Threads(unittest.TestCase):
    def test_states_and_stacks(self):
        home = Home()
        jvm = Jvm("Stacks", 300, home=home.path, port=free_port())
        try:
            expected = {
                "blocked: ": "2 waitForMonitor()V",
                "parked: ": "3 park()V",
                "spinning: ": "1 spin()V",
                "nobody: ": "-1",
                "wrong: ": "0",
            }
            for prefix, rest in expected.items():
                self.assertEqual(jvm.expect(prefix), rest, prefix)
            self.assertEqual(jvm.end(), 0, jvm.stderr())
            self.assertEqual(jvm.crash_files(), [])
        finally:
            jvm.remove(), home.remove()


if __name__ == "__main__":
    unittest.main()
