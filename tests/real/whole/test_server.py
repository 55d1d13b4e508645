"""What the agent's Java side asks of a server's classes, and the credentials file, in a real JVM."""

import stat
import unittest

from harness import Home, Jvm, free_port

WORD = "Hx3&w!#9k(*pR7$e^2#uZ"
ANSWERS = ["properties AVSSystem true true", "properties Unprepared false false",
           "properties Factory false false", "properties Failing false false",
           "properties null false false",
           "sources Factory true", "sources AVSSystem false", "sources Failing false",
           "sources int false", "sources null false",
           "counters true", "user ann", "password true", "refused null"]


class Server(unittest.TestCase):
    def answers(self, **settings):
        home = Home(**settings)
        path = home.path / "etc" / "admin"
        jvm = Jvm("ServerObjects", path, WORD, home=home.path, port=free_port(),
                  options=["-Xcheck:jni"])
        try:
            self.assertEqual(jvm.end(), 0, jvm.stderr())
            text = "".join(jvm.output)
            self.assertNotIn("WARNING in native", text + jvm.stderr())
            self.assertEqual([line for line in text.splitlines() if line in ANSWERS], ANSWERS)
            self.assertIn(f"password file {path} was properly created", text)
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o600)
            self.assertTrue(path.read_bytes().startswith(b"ann:"))
            return text
        finally:
            jvm.remove(), home.remove()

    def test_passwords_are_said(self):
        self.assertIn("Decrypted password: p\u00e4\u20ac", self.answers())

    def test_passwords_are_masked(self):
        text = self.answers(internal__mask__passwords="YES")
        self.assertNotIn("p\u00e4\u20ac", text)
        self.assertIn("Decrypted password: ******** \n", text)


if __name__ == "__main__":
    unittest.main()
