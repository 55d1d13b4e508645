package test;

import com.velora.probe.Calls;
import com.velora.probe.boot.Starter;
import java.io.ByteArrayOutputStream;
import java.io.PrintStream;
import java.util.Arrays;
import java.util.List;

/** The start against stand-ins. The argument names the step that fails, if one shall. */
public final class StarterTest {
  private static final String PROBE =
      "probe|/opt/velora|defaultnode|till|defaultnode.till.4711|0|true";

  public static void main(String[] args) throws Exception {
    Calls.refused = args.length > 0 ? args[0] : "";
    System.setProperty("am.appserver", "till");
    System.setProperty("velora.gps.region", "01");
    String said = start();
    switch (Calls.refused) {
      case "":
        succeeds(said);
        break;
      case "service":
        fails(said, "the native service did not start", "service");
        break;
      case "probe":
        fails(said, "the native probe refused its settings", "service", PROBE);
        break;
      default:
        fails(said, "java.lang.UnsatisfiedLinkError: customServiceStart", "service");
    }
    Check.finish();
  }

  /** What the start says on standard error. */
  private static String start() {
    PrintStream before = System.err;
    ByteArrayOutputStream said = new ByteArrayOutputStream();
    System.setErr(new PrintStream(said, true));
    try {
      Starter.start("/opt/velora/lib");
      Starter.start("/somewhere/else");
    } finally {
      System.setErr(before);
    }
    return said.toString();
  }

  private static void succeeds(String said) throws InterruptedException {
    for (Thread thread : Thread.getAllStackTraces().keySet()) {
      if (thread.getName().startsWith("Velora ")) {
        thread.join();
      }
    }
    List<String> calls = Calls.taken();
    Check.same("order", Arrays.asList("service", PROBE, "tokens|01", "start"), calls.subList(0, 4));
    calls.subList(0, 4).clear();
    calls.sort(null);
    Check.same(
        "agents, each on a daemon thread of its own",
        Arrays.asList(
            "agent|0|Velora Event Agent 0|true|null", "agent|0|Velora Network Agent 0|true|null",
            "agent|1|Velora Event Agent 1|true|null", "agent|1|Velora Network Agent 1|true|null"),
        calls);
    Check.same("said", "", said);
  }

  private static void fails(String said, String why, String... calls) {
    Check.same("one line", "Velora: this server runs unmonitored: " + why + "\n", said);
    Check.same("stopped there", Arrays.asList(calls), Calls.taken());
  }
}
