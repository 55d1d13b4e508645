import java.util.ArrayList;
import java.util.List;

/** The heap's objects, as a dump and as an enumeration. */
public final class Heap {
  static class Base implements Runnable {
    static final Object[] ARRAY = {1};
    static long wide;
    static byte narrow;
    long a;
    Object b;

    public void run() {}
  }

  static final class Known extends Base {
    short c;
    boolean d;
  }

  static final class Late {}

  /**
   * Called while a dump is read: loads a class on another thread, and makes one ready whose fields
   * nobody knew when the dump was written.
   */
  static void whileRead() throws Exception {
    Thread loader = new Thread(Late::new);
    loader.start();
    loader.join();
    Class.forName("Victim");
  }

  public static void main(String[] args) throws Exception {
    List<Object> kept = new ArrayList<>();
    for (int i = 0; i < 1000; i++) kept.add(new Known());
    for (int i = 0; i < 30; i++) kept.add(new Known[3][]);
    Class.forName("Victim", false, Heap.class.getClassLoader());
    long id = Probe.idOf(Known.class);
    for (int i = 0; i < 3; i++)
      Probe.checkEquals(id + ": 1000 of 15, arrays 1", Probe.dump("Heap$Known"), "dump");
    Probe.check(Probe.shown("Heap$Late"), "the class loaded meanwhile was never shown");

    String known = Probe.enumerate("Heap$Known");
    Probe.check(known.startsWith(id + ": 1000, "), "enumeration " + known);
    String deep = Probe.enumerate("Heap$Known[][]");
    Probe.check(
        deep.startsWith(Probe.idOf(Known[][].class) + ": 30, "), "enumeration of arrays " + deep);
    Probe.check(Probe.enumerate("int[]").contains(": "), "enumeration of primitives");
    Probe.checkEquals(1030, kept.size(), "kept");
    System.out.println("PASS");
  }
}
