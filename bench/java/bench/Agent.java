package bench;

import com.velora.probe.ProbeController;
import com.velora.probe.ProbeUtils;
import com.velora.probe.ThreadManager;

/** The agent's own pairs, and its state around them. */
final class Agent {
  private static final int LONGEST_DRAIN_MS = 1000;

  private Agent() {}

  static void awaitReady() throws InterruptedException {
    long deadline = System.nanoTime() + 60_000_000_000L;
    while (!ProbeController.isNativeProbeEnabled()) {
      if (System.nanoTime() > deadline) {
        throw new IllegalStateException("the probe does not start");
      }
      Thread.sleep(20);
    }
    drain();
  }

  /** Level 1, at which the setting counts that leaves nested requests out. */
  static void lowestLevel() {
    if (!ProbeController.setModLevel(1)) {
      throw new IllegalStateException("the level could not be set");
    }
  }

  /** Until reports are turned away for want of memory. */
  static void awaitMemoryLimit() throws InterruptedException {
    long deadline = System.nanoTime() + 60_000_000_000L;
    Case report = new Sql("probing");
    while (!ThreadManager.getNativeLossReport().matches("(?s).*\\bmemory\\W+[1-9].*")) {
      if (System.nanoTime() > deadline) {
        throw new IllegalStateException(
            "memory does not run out: " + ThreadManager.getNativeLossReport());
      }
      report.run(1);
      Thread.sleep(20);
    }
  }

  /** Sends what is queued at once, instead of in the agent's next round. */
  static void drain() {
    ProbeController.flushNativeProbe(LONGEST_DRAIN_MS);
  }

  static class Http extends Case {
    Http(String name) {
      super(name);
    }

    @Override
    void run(int count) {
      for (int i = 0; i < count; i++) {
        int t = i % Texts.COUNT;
        ThreadManager.startNativeHttpRequest(
            Texts.METHOD, Texts.NAME[t], Texts.APPLICATION[t], Texts.URL[t], Texts.USER[t]);
        ThreadManager.finishNativeHttpRequest(Texts.NAME[t], Texts.APPLICATION[t], Texts.URL[t]);
      }
    }

    @Override
    void settle() {
      drain();
    }
  }

  static class Sql extends Case {
    Sql(String name) {
      super(name);
    }

    @Override
    void run(int count) {
      for (int i = 0; i < count; i++) {
        int t = i % Texts.COUNT;
        ProbeUtils.beginNativeSQLRequest(Texts.SQL[t], Texts.DATA_SOURCE[t]);
        ProbeUtils.endNativeSQLRequest(Texts.SQL[t], Texts.DATA_SOURCE[t]);
      }
    }

    @Override
    void settle() {
      drain();
    }
  }

  /** Statements inside a request, at the level and with the setting that leave them out. */
  static final class Suppressed extends Sql {
    Suppressed() {
      super("suppressed");
    }

    @Override
    void prepare() {
      ThreadManager.startNativeHttpRequest(
          Texts.METHOD, Texts.NAME[0], Texts.APPLICATION[0], Texts.URL[0], Texts.USER[0]);
    }

    @Override
    void finish() {
      ThreadManager.finishNativeHttpRequest(Texts.NAME[0], Texts.APPLICATION[0], Texts.URL[0]);
    }
  }

  /** A request while so many threads exist, or have just ended, that report nothing. */
  static final class AmongIdle extends Http {
    private static final int IDLE = 1000;
    private final boolean alive;
    private IdleThreads idle;

    AmongIdle(boolean alive) {
      super(alive ? "http.idle" : "http.alone");
      this.alive = alive;
    }

    @Override
    void prepare() {
      idle = new IdleThreads(IDLE);
      if (!alive) {
        idle.end();
      }
      drain();
    }

    @Override
    void finish() {
      idle.end();
    }
  }
}
