import java.util.List;
import java.util.stream.Collectors;

/** The monitoring interface: who is told of which event, on which thread and with what in it. */
public final class Monitoring {
  private static final int THREAD_START = 0;
  private static final int THREAD_STOP = 1;
  private static final int CLASS_LOAD = 2;
  private static final int GC_START = 9;
  private static final int GC_STOP = 10;

  static native int listen(String listener, int event);

  static native String seen(int event);

  static native void endStandingEvents();

  /** What was told in this event's order, of things with this in their text. */
  private static List<String> seen(int event, String part) {
    return seen(event).lines().filter(line -> line.contains(part)).collect(Collectors.toList());
  }

  static final class First {
    static final List<String> WHEN_INITIALISED = seen(CLASS_LOAD, "$First ");
  }

  static final class Second {}

  static final class Third {}

  static final class Fourth {}

  private static String load(Class<?> loaded, String listener) {
    return listener + " " + loaded.getName() + " id=" + Probe.idOf(loaded) + " on main";
  }

  private static void threads() throws Exception {
    String name = "posed \u00e4\u20ac";
    Object[] startWhenRunning = new Object[2];
    Runnable look =
        () -> {
          startWhenRunning[0] = seen(THREAD_START, name);
          startWhenRunning[1] = seen(THREAD_STOP, name);
        };
    listen("one", THREAD_START);
    listen("two", THREAD_STOP);
    Thread thread = new Thread(look, name);
    thread.start();
    thread.join();
    String started = "one " + name + " on " + name;
    Probe.checkEquals(List.of(started), startWhenRunning[0], "start of a thread that runs");
    Probe.checkEquals(List.of(), startWhenRunning[1], "end of a thread that runs");
    Probe.checkEquals(List.of(started), seen(THREAD_START, name), "starts");
    Probe.await(() -> !seen(THREAD_STOP, name).isEmpty());
    Probe.checkEquals(List.of("two " + name + " on " + name), seen(THREAD_STOP, name), "ends");
    listen(null, THREAD_START);
    thread = new Thread(look, "unheard");
    thread.start();
    thread.join();
    Probe.await(() -> !seen(THREAD_STOP, "unheard").isEmpty());
    Probe.checkEquals(List.of(), seen(THREAD_START, "unheard"), "start after the registration");
    listen(null, THREAD_STOP);
  }

  private static void classes() {
    listen("one", CLASS_LOAD);
    Object first = new First();
    List<String> expected = List.of(load(first.getClass(), "one"));
    Probe.checkEquals(expected, First.WHEN_INITIALISED, "load before the class is initialised");
    Object array = new First[] {new First()};
    Probe.checkEquals(expected, seen(CLASS_LOAD, "First"), "loads after " + array);
    listen("two", CLASS_LOAD);
    Probe.checkEquals(
        List.of(load(new Second().getClass(), "two")), seen(CLASS_LOAD, "$Second"), "replaced");
    listen(null, CLASS_LOAD);
    Probe.checkEquals(
        List.of(), seen(CLASS_LOAD, new Third().getClass().getName()), "load after registration");
  }

  private static void collections() throws Exception {
    listen("one", GC_START);
    listen("two", GC_STOP);
    Probe.await(
        () -> {
          Probe.runGc();
          return seen(GC_START, "").size() >= 3 && seen(GC_STOP, "").size() >= 3;
        });
    for (String start : seen(GC_START, ""))
      Probe.checkEquals("one on Velora Event Delivery", start, "start");
    for (String stop : seen(GC_STOP, ""))
      Probe.checkEquals("two on Velora Event Delivery", stop, "end");
    listen(null, GC_START);
    int left = seen(GC_START, "").size();
    int ends = seen(GC_STOP, "").size();
    Probe.await(
        () -> {
          Probe.runGc();
          return seen(GC_STOP, "").size() > ends + 2;
        });
    // One may have been on its way.
    Probe.check(seen(GC_START, "").size() <= left + 1, "starts after the registration");
    listen(null, GC_STOP);
  }

  /** Without the profiling interface's own events. */
  private static void alone() throws Exception {
    endStandingEvents();
    Probe.checkEquals(
        List.of(), seen(CLASS_LOAD, new Object() {}.getClass().getName()), "nobody listens");
    listen("three", CLASS_LOAD);
    Probe.checkEquals(
        List.of(load(new Fourth().getClass(), "three")), seen(CLASS_LOAD, "$Fourth"), "alone");
    // The ends first: the JVM is not asked for the starts then, which cannot pass for them.
    for (int event : new int[] {GC_STOP, GC_START}) {
      listen("three", event);
      Probe.await(
          () -> {
            Probe.runGc();
            return !seen(event, "three").isEmpty();
          });
      listen(null, event);
    }
  }

  public static void main(String[] args) throws Exception {
    for (int event : new int[] {-1, 3, 8, 11, 64, 1 << 30})
      Probe.check(listen("none", event) != 0, "number " + event + " was taken");
    threads();
    classes();
    collections();
    alone();
    System.out.println("PASS");
  }
}
