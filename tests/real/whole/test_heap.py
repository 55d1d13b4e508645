"""Heap summaries of a known population, from both sources, against the JVM's own histogram."""

import subprocess
import unittest

from harness import JDK, Home, Jvm, free_port

CLASS_LIMIT = 20_000
# Instances, and the bytes of their fields with four bytes for a reference.
POPULATION = {"Heap$Plain": (12_345, 16), "Heap$Derived": (777, 19), "Heap$Empty": (11, 0),
              "Heap$Pair": (5, 8)}
ARRAYS = ("primitive[]", "object[]")
COLLECTORS = ["-XX:+UseG1GC", "-XX:+UseSerialGC", "-XX:+UseParallelGC", "-XX:+UseZGC"]


class Summary:
    """The text's lines: totals first, then {class: (bytes, count)}, with dots in the names."""

    def __init__(self, text):
        first, *lines = text.removeprefix("kept:").splitlines()
        self.total = tuple(map(int, first.split(",")))
        rows = [line.rsplit(",", 4) for line in lines]
        self.sizes = [int(size) for _, size, *_ in rows[:-2]]
        self.rows = {name.replace("/", "."): (int(size), int(count))
                     for name, size, _, count, _ in rows}
        self.lines = len(rows)

    def count(self, name):
        return self.rows.get(name, (0, 0))[1]


class Subject:
    """The JVM whose heap is looked at."""

    def __init__(self, *options, plain=POPULATION["Heap$Plain"][0]):
        self.home = Home()
        self.jvm = Jvm("Heap", plain, home=self.home.path, port=free_port(), options=options)
        self.jvm.expect("ready")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.jvm.remove(), self.home.remove()

    def order(self, *words):
        self.jvm.tell(" ".join(map(str, words)))
        self.jvm.expect("done")

    def summary(self, source):
        file = self.jvm.cwd / "summary.txt"
        self.jvm.tell(f"{source} {file}")
        assert self.jvm.expect("result") == "0", self.jvm.stderr()
        return Summary(file.read_text(encoding="utf-8", errors="replace"))

    def histogram(self):
        """{class: (bytes, instances)} as the JVM itself counts."""
        out = subprocess.run([JDK / "bin" / "jcmd", str(self.jvm.process.pid), "GC.class_histogram"],
                             check=True, capture_output=True, text=True, timeout=60).stdout
        rows = (line.split() for line in out.splitlines())
        return {row[3]: (int(row[2]), int(row[1])) for row in rows
                if len(row) > 3 and row[0].endswith(":") and row[1].isdigit()}


class Heap(unittest.TestCase):
    def assertSound(self, summary):
        """The rows add up to the totals, and the smallest class is first."""
        self.assertEqual(summary.total, tuple(map(sum, zip(*summary.rows.values()))))
        self.assertEqual(summary.sizes, sorted(summary.sizes))

    def assertPopulation(self, dump):
        for name, (count, field_bytes) in POPULATION.items():
            self.assertEqual(dump.rows[name], (count * field_bytes, count), name)

    def assertUnharmed(self, jvm):
        self.assertEqual(jvm.end(), 0, jvm.stderr())
        self.assertNotIn("WARNING in native", "".join(jvm.output) + jvm.stderr())
        self.assertEqual(jvm.crash_files(), [])

    def check(self, *options):
        with Subject(*options) as subject:
            subject.summary("dump")  # what is loaded for the first one is there for the others
            rounds = [tuple(map(subject.summary, ("snapshot", "dump"))) for _ in range(4)]
            for snapshot, dump in rounds:
                self.assertSound(snapshot)
                self.assertSound(dump)
                self.assertPopulation(dump)
            # The JVM and the agent have some objects of their own that come and go, or that only
            # one of the two ways of looking makes. What stays the same agrees but for these few;
            # but class objects are classes in a dump, not instances, and an array of int[] is
            # primitive to the other source.
            few = 8
            seen = {n: [{s.count(n) for s in source} for source in zip(*rounds)]
                    for n in snapshot.rows.keys() | dump.rows.keys()}
            still = {n: counts for n, counts in seen.items() if all(len(c) == 1 for c in counts)}
            self.assertGreater(len(still), 100)
            apart = {n for n, (one, other) in still.items() if abs(one.pop() - other.pop()) > few}
            self.assertLessEqual(apart - set(ARRAYS), {"java.lang.Class"})
            self.assertEqual(dump.count("java.lang.Class"), 0)
            arrays = [sum(map(summary.count, ARRAYS)) for summary in (snapshot, dump)]
            self.assertAlmostEqual(*arrays, delta=20)
            histogram = subject.histogram()
            for name, (count, _) in POPULATION.items():
                self.assertEqual(snapshot.count(name), count)
                self.assertEqual(snapshot.rows[name], histogram[name], name)
            self.assertUnharmed(subject.jvm)

    def test_population(self):
        for collector in COLLECTORS:
            with self.subTest(collector):
                self.check(collector)

    def test_checked_jni(self):
        self.check("-Xcheck:jni")

    def test_without_compressed_pointers(self):
        self.check("-XX:-UseCompressedOops")

    def test_arrays(self):
        """The JVM makes and drops some arrays of its own meanwhile, half a megabyte and more."""
        made = 300_000
        with Subject("-Xmx512m") as subject:
            for source, long_array, reference in (("snapshot", 96, 48), ("dump", 40, 28)):
                subject.summary(source)
                before = subject.summary(source)
                subject.order("arrays", made)
                after = subject.summary(source)
                for kind, size in zip(ARRAYS, (long_array, reference)):
                    more = [a - b for a, b in zip(after.rows[kind], before.rows[kind])]
                    self.assertAlmostEqual(more[1], made, delta=made / 100, msg=(source, kind))
                    self.assertAlmostEqual(more[0] / size, made, delta=made / 10,
                                           msg=(source, kind))
            self.assertUnharmed(subject.jvm)

    def test_more_classes_than_rows(self):
        with Subject("-Xmx512m") as subject:
            subject.order("classes", CLASS_LIMIT + 1_000)
            for source in ("snapshot", "dump"):
                summary = subject.summary(source)
                self.assertEqual(summary.lines, CLASS_LIMIT + 2)
                self.assertGreater(summary.total[1], sum(n for n, _ in POPULATION.values()))
            self.assertUnharmed(subject.jvm)

    def test_classes_come_and_go_meanwhile(self):
        """A reader that gets out of step counts wrongly from there on."""
        with Subject("-Xmx512m") as subject:
            subject.order("loading", 1)
            for _ in range(15):
                for source in ("dump", "snapshot"):
                    summary = subject.summary(source)
                    self.assertSound(summary)
                    for name, (count, _) in POPULATION.items():
                        self.assertEqual(summary.count(name), count, source)
            subject.order("loading", 0)
            self.assertUnharmed(subject.jvm)

    def test_large_heap(self):
        plain = 8_000_000
        with Subject("-Xmx600m", plain=plain) as subject:
            for source in ("snapshot", "dump"):
                summary = subject.summary(source)
                self.assertSound(summary)
                self.assertEqual(summary.count("Heap$Plain"), plain)
            self.assertUnharmed(subject.jvm)


if __name__ == "__main__":
    unittest.main()
