"""Heap summaries of a known population, from both sources, against the JVM's own histogram."""

import subprocess

from harness import JDK, Driver, WholePath

CLASS_LIMIT = 20_000
# Instances, and the bytes of their fields with four bytes for a reference.
POPULATION = {"Heap$Plain": (12_345, 16), "Heap$Derived": (777, 19), "Heap$Empty": (11, 0),
              "Heap$Pair": (5, 8)}
ARRAYS = ("primitive[]", "object[]")


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


class Heap(WholePath):
    def serve(self, *options, plain=POPULATION["Heap$Plain"][0]):
        jvm = self.start(Driver, "Heap", options=options)
        jvm.ask("Heap.populate", plain)
        return jvm

    def summary(self, jvm, source):
        file = jvm.cwd / "summary.txt"
        self.assertEqual(jvm.ask("Heap.summary", source, str(file)), "0", jvm.stderr())
        return Summary(file.read_text(encoding="utf-8", errors="replace"))

    @staticmethod
    def histogram(jvm):
        """{class: (bytes, instances)} as the JVM itself counts."""
        out = subprocess.run([JDK / "bin" / "jcmd", str(jvm.process.pid), "GC.class_histogram"],
                             check=True, capture_output=True, text=True, timeout=60).stdout
        rows = (line.split() for line in out.splitlines())
        return {row[3]: (int(row[2]), int(row[1])) for row in rows
                if len(row) > 3 and row[0].endswith(":") and row[1].isdigit()}

    def assertSound(self, summary):
        """The rows add up to the totals, and the smallest class is first."""
        self.assertEqual(summary.total, tuple(map(sum, zip(*summary.rows.values()))))
        self.assertEqual(summary.sizes, sorted(summary.sizes))

    def check(self, *options):
        jvm = self.serve(*options)
        self.summary(jvm, "dump")  # what is loaded for the first one is there for the others
        rounds = [(self.summary(jvm, "snapshot"), self.summary(jvm, "dump")) for _ in range(4)]
        for snapshot, dump in rounds:
            self.assertSound(snapshot)
            self.assertSound(dump)
            for name, (count, field_bytes) in POPULATION.items():
                self.assertEqual(dump.rows[name], (count * field_bytes, count), name)
        # The JVM and the agent have some objects of their own that come and go, or that only one of
        # the two ways of looking makes. What stays the same agrees but for these few; but class
        # objects are classes in a dump, not instances, and an array of int[] is primitive to the
        # other source.
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
        histogram = self.histogram(jvm)
        for name, (count, _) in POPULATION.items():
            self.assertEqual(snapshot.count(name), count)
            self.assertEqual(snapshot.rows[name], histogram[name], name)
        self.assertEndsWell(jvm)

    def test_population(self):
        for option in ("+UseG1GC", "+UseSerialGC", "+UseParallelGC", "+UseZGC",
                       "-UseCompressedOops"):
            with self.subTest(option):
                self.check(f"-XX:{option}")
        self.check("-Xcheck:jni")

    def test_arrays(self):
        """The JVM makes and drops some arrays of its own meanwhile, half a megabyte and more."""
        made = 300_000
        jvm = self.serve("-Xmx512m")
        for source, sizes in (("snapshot", (96, 48)), ("dump", (40, 28))):
            self.summary(jvm, source)
            before = self.summary(jvm, source)
            jvm.ask("Heap.arrays", made)
            after = self.summary(jvm, source)
            for kind, size in zip(ARRAYS, sizes):
                size_more, count_more = (a - b for a, b in zip(after.rows[kind], before.rows[kind]))
                self.assertAlmostEqual(count_more, made, delta=made / 100, msg=(source, kind))
                self.assertAlmostEqual(size_more / size, made, delta=made / 10, msg=(source, kind))
        self.assertEndsWell(jvm)

    def test_more_classes_than_rows(self):
        jvm = self.serve("-Xmx512m")
        jvm.ask("Heap.classes", CLASS_LIMIT + 1_000)
        for source in ("snapshot", "dump"):
            summary = self.summary(jvm, source)
            self.assertEqual(summary.lines, CLASS_LIMIT + 2)
            self.assertGreater(summary.total[1], sum(n for n, _ in POPULATION.values()))
        self.assertEndsWell(jvm)

    def test_classes_come_and_go_meanwhile(self):
        """A reader that gets out of step counts wrongly from there on."""
        jvm = self.serve("-Xmx512m")
        jvm.ask("Heap.loading", True)
        for source in ("dump", "snapshot") * 15:
            summary = self.summary(jvm, source)
            self.assertSound(summary)
            for name, (count, _) in POPULATION.items():
                self.assertEqual(summary.count(name), count, source)
        jvm.ask("Heap.loading", False)
        self.assertEndsWell(jvm)

    def test_large_heap(self):
        plain = 8_000_000
        jvm = self.serve("-Xmx600m", plain=plain)
        for source in ("snapshot", "dump"):
            summary = self.summary(jvm, source)
            self.assertSound(summary)
            self.assertEqual(summary.count("Heap$Plain"), plain)
        self.assertEndsWell(jvm)
