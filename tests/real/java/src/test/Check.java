package test;

import com.velora.probe.Calls;
import java.util.Arrays;
import java.util.Objects;

/** Comparisons that go on after a failure and make the program fail at its end. */
public final class Check {
  private static int failures;
  private static int made;

  public interface Action {
    void run() throws Exception;
  }

  public static void same(String what, Object expected, Object actual) {
    made++;
    if (!Objects.equals(expected, actual)) {
      failures++;
      System.out.println("FAIL " + what + "\n  expected " + expected + "\n  but was  " + actual);
    }
  }

  /** The agent was told exactly this by the action. */
  public static void reports(String what, Action action, String... expected) throws Exception {
    Calls.taken();
    action.run();
    same(what, Arrays.asList(expected), Calls.taken());
  }

  /** The action throws this very object. */
  public static void rethrows(String what, Throwable expected, Action action) {
    Throwable thrown = null;
    try {
      action.run();
    } catch (Throwable e) {
      thrown = e;
    }
    same(what, expected, thrown);
  }

  public static void finish() {
    System.out.println(made + " checks, " + failures + " failed");
    if (failures > 0 || made == 0) {
      System.exit(1);
    }
  }
}
