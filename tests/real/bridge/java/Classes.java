import java.io.InputStream;

/** Class ids: given, requested, and gone with their class. */
public final class Classes {
  /** Defines Victim anew, so that it can be unloaded. */
  private static final class OwnLoader extends ClassLoader {
    OwnLoader() {
      super(null);
    }

    @Override
    protected Class<?> findClass(String name) throws ClassNotFoundException {
      try (InputStream in = Classes.class.getResourceAsStream(name + ".class")) {
        byte[] bytes = in.readAllBytes();
        return defineClass(name, bytes, 0, bytes.length);
      } catch (java.io.IOException e) {
        throw new ClassNotFoundException(name, e);
      }
    }
  }

  /** The id of a Victim whose class and loader nobody holds any more. */
  private static long loadAndDrop() throws Exception {
    int loads = Probe.count(42);
    Class<?> victim = Class.forName("Victim", true, new OwnLoader());
    Probe.check(Probe.count(42) > loads, "no class load event");
    long id = Probe.idOf(victim);
    Probe.checkEquals(id, Probe.idOf(victim), "id asked twice");
    Probe.checkEquals(victim, Probe.objectOf(id), "class of the id");
    String record = Probe.request(id);
    String expected =
        "Victim source=Victim.java interfaces=2 "
            + "statics=CONSTANT:I,names:[Ljava/lang/String;, "
            + "instances=wide:J,other:Ljava/lang/Object;, methods=";
    Probe.check(record.startsWith(expected), "record " + record);
    Probe.check(record.contains("text()Ljava/lang/String;@14-14,"), "lines in " + record);
    Probe.check(record.contains("compareTo(LVictim;)I@-1--1,"), "native method in " + record);
    return id;
  }

  private static void describe(Class<?> klass, String expected) {
    String record = Probe.request(Probe.idOf(klass));
    Probe.check(record != null && record.startsWith(expected), klass + " is " + record);
  }

  public static void main(String[] args) throws Exception {
    Probe.check(Probe.count(42) > 100, "older classes were not shown");
    describe(String.class, "java/lang/String source=String.java ");
    describe(String[].class, "[Ljava/lang/String; source=- ");
    describe(int[][].class, "[[I ");
    describe(int.class, "int ");
    // Loaded and not prepared: the request is answered, with nothing in it.
    describe(
        Class.forName("Victim", false, new OwnLoader()),
        "Victim source=Victim.java interfaces=0 statics= instances= methods=");
    Object plain = new Object();
    Probe.checkEquals(plain, Probe.objectOf(Probe.idOf(plain)), "object");
    Probe.check(Probe.request(Probe.idOf(plain)) == null, "an object is no class");
    Probe.check(Probe.request(0) == null && Probe.request(99_999_999) == null, "unknown ids");

    int unloads = Probe.count(43);
    long id = loadAndDrop();
    Probe.await(
        () -> {
          Probe.runGc();
          return Probe.count(43) > unloads;
        });
    Probe.check(Probe.request(id) == null, "an unloaded class answered");
    Probe.check(Probe.objectOf(id) == null, "an unloaded class is an object");
    Probe.check(loadAndDrop() > id, "an id was given twice");
    System.out.println("PASS");
  }
}
