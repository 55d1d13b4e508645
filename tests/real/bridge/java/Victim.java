/** What the class tests load, rewrite, describe and unload. */
class Victim implements Runnable, Comparable<Victim> {
  static final int CONSTANT = 7;
  static String[] names;
  long wide;
  Object other;

  static String text() {
    return "original";
  }

  public native int compareTo(Victim other);

  @Override
  public void run() {
    wide = CONSTANT;
  }
}
