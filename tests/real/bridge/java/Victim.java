/** What the class tests load, rewrite, describe and unload. */
class Victim implements Runnable, Comparable<Victim> {
  static final int CONSTANT = 7;
  static String[] names;
  long wide;
  Object other;

  /** What the class-load hook made of it. */
  public static void main(String[] args) {
    System.out.println("Victim says " + text());
  }

  static String text() {
    return "original";
  }

  public native int compareTo(Victim other);

  @Override
  public void run() {
    wide = CONSTANT;
  }
}
