"""What woven code reports of classes and methods arrives with its names; unloaded classes are seen."""

import unittest

from harness import Collector, Home, Jvm, wait_until
from test_counts import assert_balanced, drained


class Methods(unittest.TestCase):
    def setUp(self):
        self.collector = Collector("--strict").start()

    def tearDown(self):
        self.jvm.remove(), self.collector.remove(), self.home.remove()

    def start(self, *options, **settings):
        self.home = Home(**settings)
        self.jvm = Jvm("Methods", home=self.home.path, port=self.collector.port, options=options)
        self.jvm.expect("ready")

    def ask(self, order, answer):
        self.jvm.tell(order)
        return self.jvm.expect(answer)

    def end(self):
        assert_balanced(self, drained(self.jvm))
        self.assertEqual(self.jvm.end(), 0)
        self.collector.stop()
        for fault in ("WARNING in native", "FATAL ERROR in native"):
            self.assertNotIn(fault, "".join(self.jvm.output) + self.jvm.stderr())

    def records(self, *kinds):
        return [r for r in self.collector.records() if r["record"].startswith(kinds)]

    def unloaded(self):
        return [r for r in self.records("CLASS_UNLOAD") if len(r["methods"]) == 31]

    def test_class_entry_exit_unload(self):
        self.start("-Xcheck:jni")
        self.ask("announce", "announced")
        self.end()
        story = self.records("CLASS", "METHOD")
        self.assertEqual(
            [(r["record"], r.get("method") or r["className"]) for r in story],
            [("CLASS_LOAD", "shop.Basket"),
             ("METHOD_ENTRY", "shop.Basket.add(I)V"), ("METHOD_ENTRY", "shop.Basket.sum()J"),
             ("METHOD_EXIT", "shop.Basket.sum()J"), ("METHOD_EXIT", "shop.Basket.add(I)V"),
             ("CLASS_UNLOAD", "shop.Basket"),
             ("CLASS_LOAD", "shop.Cart"),
             ("METHOD_ENTRY", "shop.Cart.pay "), ("METHOD_EXIT", "shop.Cart.pay "),
             ("CLASS_UNLOAD", "shop.Cart")])
        self.assertEqual([m["id"] for m in story[0]["methods"]], [8, 2**32 - 16])
        self.assertEqual(story[5]["sequenceID"], story[0]["sequenceID"])
        self.assertEqual((story[-1]["sequenceID"], story[-1]["classObjectId"]), (4711, 4711))
        threads = {r["thread"] for r in story if "thread" in r}
        self.assertEqual(len(threads), 1)
        stamps = [r["cpuTime"] for r in story if "cpuTime" in r]
        self.assertEqual(stamps, sorted(stamps))

    def test_a_new_connection_is_told_the_classes_that_are_left(self):
        self.start()
        self.ask("announce", "announced")
        self.ask("keep", "kept")
        loads = lambda: [(r["className"], r["methods"]) for r in self.records("CLASS_LOAD")]
        wait_until("the classes arrive", lambda: len(loads()) == 3)
        kept = loads()[-1]
        self.collector.remove()
        self.collector = Collector("--strict", port=self.collector.port).start()

        # Only who writes learns that the other end has gone.
        def told_again():
            self.ask("analyse", "analysed")
            return loads()
        wait_until("the class arrives again", told_again)
        self.end()
        self.assertEqual(loads(), [kept])
        self.assertEqual(kept[0], "shop.Kept")

    def test_natives_are_registered(self):
        self.start("-Xcheck:jni")
        self.assertEqual(self.ask("register", "registered "), "false false true")
        self.assertEqual(self.ask("analyse", "analysed "), "01111110")
        self.end()
        self.assertEqual(
            [r["record"] for r in self.records("LOCK", "HEAP")],
            ["HEAP_ALLOCATION_START", "HEAP_ALLOCATION_END",
             "LOCK_ACQUIRE_START", "LOCK_ACQUIRE_END", "LOCK_CONTEND_START", "LOCK_CONTEND_END",
             "LOCK_RELEASE_START", "LOCK_RELEASE_END"])

    # The JVM tells each unloading once, whichever way the agent frees the class then.
    def check_unloading(self, loaders, **settings):
        self.start(**settings)
        self.ask(f"drop {loaders}", "dropped")

        def gone():
            self.ask("collect", "collected")
            return len(self.unloaded()) >= loaders
        wait_until("the classes are unloaded", gone)
        self.end()
        unloaded = self.unloaded()
        self.assertEqual(len(unloaded), loaders)
        for field in ("sequenceID", "classObjectId"):
            self.assertEqual(len({r[field] for r in unloaded}), loaders)

    def test_unloaded_classes_freed_in_batches(self):
        self.check_unloading(40, method__hash__cleanup=7, method__hash__cleanupinterval=1)

    # The agent pauses before it frees classes; collections are reported all the same.
    def test_collections_during_the_pause(self):
        self.start(method__hash__cleanup=1, method__hash__cleanupinterval=60000)
        self.ask("drop 3", "dropped")

        def collect_until(what, reached):
            def done():
                self.ask("collect", "collected")
                return reached()
            wait_until(what, done)

        collect_until("a class is unloaded", self.unloaded)
        so_far = len(self.records("GC_"))
        collect_until("later collections arrive", lambda: len(self.records("GC_")) > so_far + 4)
        self.end()

    def test_unloaded_classes_freed_at_once(self):
        self.check_unloading(20, method__hash__cleanup=-1)


if __name__ == "__main__":
    unittest.main()
