/** Ends the JVM in one of three ways while agent threads are busy in native code. */
public final class Exits {
  private static void daemon(Runnable body) {
    Thread thread = new Thread(body);
    thread.setDaemon(true);
    thread.start();
  }

  private static void collect() {
    for (; ; ) Probe.runGc();
  }

  private static void churn() {
    for (; ; ) new Thread(() -> Probe.status(Probe.env())).start();
  }

  public static void main(String[] args) {
    daemon(() -> Probe.agentLoop(0));
    daemon(() -> Probe.agentLoop(100_000));
    daemon(() -> Probe.agentLoop(1));
    daemon(Exits::collect);
    daemon(() -> Probe.lockedWork("text"));
    if (args.length > 1) daemon(Exits::churn);
    while (Probe.count(61) < 2) Thread.onSpinWait();
    Runtime.getRuntime().addShutdownHook(new Thread(() -> System.out.println("hook ran")));
    System.out.println("ending");
    if (args[0].equals("exit")) System.exit(7);
    if (args[0].equals("halt")) Runtime.getRuntime().halt(9);
  }
}
