package p;

/** Loaded when the hook is off. */
public class Late {
  public static String text() {
    return "plain";
  }
}
