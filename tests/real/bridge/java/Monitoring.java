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

  private static void checkLoad(Object instance, String... listeners) {
    Class<?> loaded = instance.getClass();
    List<String> expected = new java.util.ArrayList<>();
    for (String listener : listeners)
      expected.add(listener + " " + loaded.getName() + " id=" + Probe.idOf(loaded) + " on main");
    Probe.checkEquals(expected, seen(CLASS_LOAD, loaded.getName() + " "), "load");
  }

  private static void threads() throws Exception {
    String name = "posed \u00e4\u20ac";
    String told = name + " on " + name;
    listen("one", THREAD_START);
    listen("two", THREAD_STOP);
    String[] whenRunning = new String[1];
    Thread thread =
        new Thread(() -> whenRunning[0] = "" + seen(THREAD_START, name) + seen(THREAD_STOP, name), name);
    thread.start();
    thread.join();
    Probe.checkEquals("[one " + told + "][]", whenRunning[0], "a thread that runs");
    Probe.await(() -> !seen(THREAD_STOP, name).isEmpty());
    Probe.checkEquals(List.of("two " + told), seen(THREAD_STOP, name), "ends");
    listen(null, THREAD_START);
    thread = new Thread("unheard");
    thread.start();
    thread.join();
    Probe.await(() -> !seen(THREAD_STOP, "unheard").isEmpty());
    Probe.checkEquals(List.of(), seen(THREAD_START, "unheard"), "start after the registration");
  }

  private static void classes() {
    listen("one", CLASS_LOAD);
    Object array = new First[] {new First()};
    checkLoad(new First(), "one");
    Probe.checkEquals(1, First.WHEN_INITIALISED.size(), "load before initialisation of " + array);
    listen("two", CLASS_LOAD);
    checkLoad(new Second(), "two");
    listen(null, CLASS_LOAD);
    checkLoad(new Third());
  }

  private static void collections(String listener) throws Exception {
    // The ends first: the JVM is not asked for the starts then, which cannot pass for them.
    for (int event : new int[] {GC_STOP, GC_START}) {
      listen(listener, event);
      Probe.await(
          () -> {
            Probe.runGc();
            return seen(event, listener).size() >= 3;
          });
      for (String told : seen(event, listener))
        Probe.checkEquals(listener + " on Velora Event Delivery", told, "collection");
      listen(null, event);
    }
  }

  public static void main(String[] args) throws Exception {
    for (int event : new int[] {-1, 3, 8, 11, 64, 1 << 30})
      Probe.check(listen("none", event) != 0, "number " + event + " was taken");
    threads();
    classes();
    collections("with others");
    endStandingEvents();  // the profiling interface's own
    collections("alone");
    listen("alone", CLASS_LOAD);
    checkLoad(new Fourth(), "alone");
    System.out.println("PASS");
  }
}
