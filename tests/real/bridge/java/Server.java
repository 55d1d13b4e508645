import java.util.concurrent.locks.LockSupport;

/** Runs without the agent until a line comes in; checks then what an attached agent knows. */
public final class Server {
  public static void main(String[] args) throws Exception {
    Thread older = new Thread(LockSupport::park, "older");
    older.setDaemon(true);
    older.start();
    System.out.println("ready");
    System.out.flush();
    System.in.read();
    Probe.checkEquals("main|main|system", Probe.started(Probe.env()), "main");
    long env = Probe.envNamed("older");
    Probe.checkEquals(older, Probe.objectOf(Probe.threadObject(env)), "older thread");
    Probe.check(Probe.trace(env, 64).contains("LockSupport.park:"), "older thread's trace");
    Probe.checkEquals(3, Probe.status(env), "older thread's status");
    Probe.check(Probe.count(42) > 100, "older classes were not shown");
    Probe.checkEquals(1, Probe.count(46), "init done events");
    System.out.println("Victim says " + Victim.text());
    System.out.println("PASS");
  }
}
