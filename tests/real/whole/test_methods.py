"""What woven code reports of classes and methods arrives with its names, and those names again with
each new connection, as a portal's do; unloaded classes are seen."""


from harness import JARS, Driver, WholePath
from javavalues import Raw
from table import HEAP, LOCK, MODULE, PORTAL, RUNTIME
from waiting import wait_until

OURS = "com.velora."
OWN = "Methods$OwnRuntime."


class Methods(WholePath):
    def setUp(self):
        super().setUp()
        self.collector = self.collect("--strict")

    def serve(self, **settings):
        self.home.set(**settings)
        return self.start(Driver, *JARS, "Methods", OWN.rstrip("."),
                          port=self.collector.port, options=["-Xcheck:jni"])

    def end(self, jvm):
        jvm.drained()
        self.assertEndsWell(jvm)
        self.collector.stop()

    def records(self, *kinds):
        return [r for r in self.collector.records() if r["record"].startswith(kinds)]

    def unloaded(self):
        return [r for r in self.records("CLASS_UNLOAD") if len(r["methods"]) == 31]

    def announce(self, jvm):
        for name, *args in (
                ("initializeClass", "shop.Basket", [8, -16], ["add", "sum"], ["(I)V", "()J"]),
                ("initializeClass", "shop.Broken", [1, 2, 3], ["a", "b", "c"], ["", ""]),
                ("beforeMethod", 8), ("beforeMethod", -16), ("afterMethod", -16),
                ("afterMethod", 8), ("unloadClass", "shop.Basket"), ("unloadClass", "shop.Basket"),
                ("unloadClass", "shop.Stranger")):
            jvm.ask(OURS + MODULE + name, *args)
        jvm.ask(OURS + RUNTIME + "sendClassEventNative", 4711, "shop.Cart", [24], ["pay"], [None])
        jvm.ask(OURS + RUNTIME + "appendL3Event", 0, 24)
        jvm.ask(OURS + RUNTIME + "appendL3Event", 1, 24)
        jvm.ask(OURS + RUNTIME + "sendClassUnloadEventNative", 4711, "shop.Cart", [24])

    def analyse(self, jvm):
        """Which of eight kinds of lock events were taken."""
        for part in ("Start", "End"):
            jvm.ask(OURS + HEAP + "nativeHeapAllocation" + part, 8, 42, "shop.Item")
        return [kind for kind in range(8) if jvm.ask(
            OURS + LOCK, kind, "shop.Till", 8, 1, "/pay", "shop", -16, 0) == "true"]

    def test_class_entry_exit_unload(self):
        jvm = self.serve()
        self.announce(jvm)
        self.end(jvm)
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

    def test_a_new_connection_is_told_the_names_that_are_left(self):
        jvm = self.serve()
        self.announce(jvm)
        jvm.ask(OURS + MODULE + "initializeClass", "shop.Kept", [40], ["stay"], ["()V"])
        for number, name in ((5, "Action.login"), (5, "Action.logout"), (-128, "Action.\u00e4ndern"),
                             (0, "no id")):
            jvm.ask(OURS + PORTAL + "pushMonitoredMethodToNative", number, name)
        loads = lambda: [(r["className"], r["methods"]) for r in self.records("CLASS_LOAD")]
        wait_until("the classes arrive", lambda: len(loads()) == 3)
        kept = loads()[-1]
        self.collector.stop()
        self.collector = self.collect("--strict", port=self.collector.port)

        # Only who writes learns that the other end has gone.
        def told_again():
            self.analyse(jvm)
            return loads()
        wait_until("the class arrives again", told_again)
        self.end(jvm)
        self.assertEqual(loads(), [kept])
        self.assertEqual(kept[0], "shop.Kept")
        self.assertEqual(
            sorted((r["methodId"], r["methodName"]) for r in self.records("PORTAL_METHOD_CONSTANT")),
            [(5, "Action.login"), (128, "Action.\u00e4ndern")])

    def test_natives_are_registered(self):
        jvm = self.serve()

        def register(cls, known):
            jvm.ask(OURS + "bcm.bootstrap.BcmBootstrap.defineNativeMethodsForClassNative",
                    Raw("@" + cls), known)

        def assertNotCallable():
            with self.assertRaisesRegex(AssertionError, "UnsatisfiedLinkError"):
                jvm.ask(OWN + "appendL3Event", 0, 99)

        assertNotCallable()
        register(OWN.rstrip("."), "com.velora.Other")
        assertNotCallable()
        known = [OURS + owner.rpartition(".")[0] for owner in (RUNTIME, HEAP, LOCK)]
        for cls in known:
            register(cls, cls)
        register(OWN.rstrip("."), known[0])
        for name, *args in (("appendL3Event", 0, 99),
                            ("sendClassEventNative", 5, "x.Own", [], [], []),
                            ("sendClassUnloadEventNative", 5, "x.Own", [])):
            self.assertEqual(jvm.ask(OWN + name, *args), "true", name)
        self.assertEqual(self.analyse(jvm), [1, 2, 3, 4, 5, 6])
        self.end(jvm)
        self.assertEqual(
            [r["record"] for r in self.records("LOCK", "HEAP")],
            ["HEAP_ALLOCATION_START", "HEAP_ALLOCATION_END",
             "LOCK_ACQUIRE_START", "LOCK_ACQUIRE_END", "LOCK_CONTEND_START", "LOCK_CONTEND_END",
             "LOCK_RELEASE_START", "LOCK_RELEASE_END"])

    def collect_until(self, jvm, what, reached):
        def done():
            jvm.ask("Methods.collect")
            return reached()
        wait_until(what, done)

    def test_unloaded_classes_freed_in_batches_or_at_once(self):
        """The JVM tells each unloading once, whichever way the agent frees the class then."""
        for loaders, settings in (
                (40, {"method.hash.cleanup": 7, "method.hash.cleanupinterval": 1}),
                (20, {"method.hash.cleanup": -1})):
            with self.subTest(settings):
                jvm = self.serve(**settings)
                jvm.ask("Methods.drop", loaders)
                self.collect_until(jvm, "the classes are unloaded",
                                   lambda: len(self.unloaded()) >= loaders)
                self.end(jvm)
                unloaded = self.unloaded()
                self.assertEqual(len(unloaded), loaders)
                for field in ("sequenceID", "classObjectId"):
                    self.assertEqual(len({r[field] for r in unloaded}), loaders)
                self.collector = self.collect("--strict")

    def test_collections_during_the_pause(self):
        """The agent pauses before it frees classes; collections are reported all the same."""
        jvm = self.serve(method__hash__cleanup=1, method__hash__cleanupinterval=60000)
        jvm.ask("Methods.drop", 3)
        self.collect_until(jvm, "a class is unloaded", self.unloaded)
        so_far = len(self.records("GC_"))
        self.collect_until(jvm, "later collections arrive",
                           lambda: len(self.records("GC_")) > so_far + 4)
        self.end(jvm)
