/** The natives of the test client, and the checks that the test programs share. */
final class Probe {
  static native long env();
  static native long envNamed(String threadName);
  static native int count(int jvmpiEvent);
  static native int status(long env);
  static native String trace(long env, int depth);
  static native String started(long env);
  static native long threadObject(long env);
  static native long idOf(Object object);
  static native Object objectOf(long id);
  static native String request(long classId);
  static native void suspend(long env);
  static native void resume(long env);
  static native int lockedWork(Object object);
  static native void agentLoop(long ms);
  static native void storage(long env, long value);
  static native long stored(long env);
  static native int systemThread();
  static native long cpuTime();
  static native int notOffered();
  static native void runGc();
  static native boolean heapFiguresWrong();
  static native String testMonitors();

  private Probe() {}

  interface Condition {
    boolean holds() throws Exception;
  }

  static void check(boolean holds, String what) {
    if (!holds) throw new AssertionError(what);
  }

  static void checkEquals(Object expected, Object seen, String what) {
    check(expected.equals(seen), what + ": expected " + expected + ", saw " + seen);
  }

  /** For what other threads do in their own time; the test's own time limit ends a vain wait. */
  static void await(Condition condition) throws Exception {
    while (!condition.holds()) Thread.sleep(1);
  }
}
