import java.util.HashSet;
import java.util.Set;
import java.util.concurrent.locks.LockSupport;

/** Thread events, states and traces as JVMPI tells them. */
public final class Threads {
  private static final int RUNNABLE = 1;
  private static final int MONITOR = 2;
  private static final int CONDITION = 3;
  private static final Object lock = new Object();
  private static volatile boolean done;

  interface Body {
    void run() throws Exception;
  }

  /** A thread that is in a known state and tells its env. */
  private static final class Posed extends Thread {
    volatile long env;
    private final Body body;

    Posed(String name, Body body) {
      super(name);
      this.body = body;
      setDaemon(true);
    }

    @Override
    public void run() {
      env = Probe.env();
      try {
        body.run();
      } catch (Exception e) {
        // The end of a pose.
      }
    }

    Posed startAs(Thread.State state) throws Exception {
      start();
      Probe.await(() -> env != 0 && getState() == state);
      return this;
    }
  }

  private static void pose(String name, Body body, Thread.State java, int status) throws Exception {
    Posed posed = new Posed(name, body).startAs(java);
    Probe.checkEquals(status, Probe.status(posed.env), name);
    Probe.checkEquals(posed, Probe.objectOf(Probe.threadObject(posed.env)), name + "'s object");
    String trace = Probe.trace(posed.env, 64);
    Probe.check(trace.contains("Threads$Posed.run:"), name + " has the trace " + trace);
    posed.interrupt();
  }

  private static void states() throws Exception {
    Probe.checkEquals(RUNNABLE, Probe.status(Probe.env()), "own status");
    Thread.currentThread().interrupt();
    Probe.checkEquals(0x4000 | RUNNABLE, Probe.status(Probe.env()), "interrupted");
    Thread.interrupted();
    pose("sleeper", () -> Thread.sleep(100_000), Thread.State.TIMED_WAITING, CONDITION);
    pose("parked", LockSupport::park, Thread.State.WAITING, CONDITION);
    pose("waiter", Threads::waitOnNothing, Thread.State.WAITING, CONDITION);
    synchronized (lock) {
      pose("blocked", Threads::enterLock, Thread.State.BLOCKED, MONITOR);
    }
    Posed spinning = new Posed("spinning", Threads::spin).startAs(Thread.State.RUNNABLE);
    Probe.checkEquals(RUNNABLE, Probe.status(spinning.env), "spinning");
    Probe.suspend(spinning.env);
    Probe.checkEquals(0x8000, Probe.status(spinning.env) & 0x8000, "suspended");
    Probe.resume(spinning.env);
    Probe.await(() -> Probe.status(spinning.env) == RUNNABLE);
    done = true;
    spinning.join();
    Probe.checkEquals(0, Probe.status(spinning.env), "dead thread");
    Probe.checkEquals("0 ", Probe.trace(spinning.env, 8), "dead thread's trace");
    Probe.checkEquals(0, Probe.status(0x7654_3210L), "unknown thread");
    Probe.checkEquals("0 ", Probe.trace(0x7654_3210L, 8), "unknown thread's trace");
  }

  private static void waitOnNothing() throws Exception {
    Object own = new Object();
    synchronized (own) {
      own.wait();
    }
  }

  private static void enterLock() {
    synchronized (lock) {
      lock.notifyAll();
    }
  }

  private static void spin() {
    while (!done) Thread.onSpinWait();
  }

  private static void ownTrace() {
    String trace = Probe.trace(Probe.env(), 64);
    String expected = "\\d Probe\\.trace:-3 Threads\\.ownTrace:\\d+ Threads\\.main:\\d+ .*";
    Probe.check(trace.matches(expected), "own trace " + trace);
    Probe.check(Probe.trace(Probe.env(), 2).startsWith("2 Probe.trace:-3 Threads"), "cut trace");
  }

  /** Envs are reused at once: each must stand for its thread of the moment. */
  private static void reuse() throws Exception {
    int ends = Probe.count(34);
    Set<Long> envs = new HashSet<>();
    long[] latest = new long[1];
    ThreadGroup group = new ThreadGroup("workers");
    for (int i = 0; i < 200; i++) {
      String name = "worker-" + i;
      String[] seen = new String[2];
      Thread thread =
          new Thread(
              group,
              () -> {
                long env = Probe.env();
                envs.add(env);
                latest[0] = env;
                seen[0] = Probe.started(env);
                seen[1] = ((Thread) Probe.objectOf(Probe.threadObject(env))).getName();
                if (Probe.stored(env) != 0) seen[0] = "storage of an earlier thread";
                Probe.storage(env, env);
                if (Probe.stored(env) != env) seen[0] = "storage lost";
              },
              name);
      long asked = latest[0];
      thread.start();
      // Of one that has ended, or of the next one there, which begins or ends meanwhile.
      int status = Probe.status(asked);
      Probe.check((status & ~0xC000) <= CONDITION, "status " + status);
      Probe.trace(asked, 10);
      thread.join();
      Probe.checkEquals(name + "|workers|main", seen[0], "thread start");
      Probe.checkEquals(name, seen[1], "thread object");
    }
    Probe.check(envs.size() < 200, "no env was reused");
    Probe.check(Probe.count(34) >= ends + 200, "thread ends are missing");
  }

  /** Natives on a virtual thread see its carrier's env, and the stack that they were called on. */
  private static void virtualThread() throws Exception {
    java.lang.reflect.Method start;
    try {
      start = Thread.class.getMethod("startVirtualThread", Runnable.class);
    } catch (NoSuchMethodException e) {
      return; // an older JDK
    }
    String[] trace = new String[1];
    int[] status = new int[1];
    Runnable body =
        () -> {
          status[0] = Probe.status(Probe.env());
          trace[0] = Probe.trace(Probe.env(), 64);
        };
    ((Thread) start.invoke(null, body)).join();
    Probe.check(status[0] != 0, "the carrier is unknown");
    Probe.check(trace[0].contains(" Threads.lambda$virtualThread"), "virtual trace " + trace[0]);
  }

  public static void main(String[] args) throws Exception {
    Probe.checkEquals("main|main|system", Probe.started(Probe.env()), "main");
    Probe.check(Probe.started(Probe.envNamed("Finalizer")).endsWith("|system|"), "older thread");
    Probe.checkEquals("ok", Probe.testMonitors(), "monitors");
    ownTrace();
    states();
    reuse();
    virtualThread();
    long before = Probe.cpuTime();
    for (int i = 0; i < 1000; i++) Probe.env();
    Probe.check(Probe.cpuTime() > before, "CPU time stands still");
    Probe.checkEquals(0, Probe.systemThread(), "system thread");
    Probe.await(() -> Probe.envNamed("probe system thread") != 0);
    Probe.checkEquals(2, Probe.notOffered(), "refusals");
    System.out.println("PASS");
  }
}
