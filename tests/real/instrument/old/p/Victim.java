package p;

/** Whose text the instrumenter changes. */
public class Victim {
  public static String text() {
    return "plain";
  }
}
