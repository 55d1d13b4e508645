package shop;

/** Functions that the database calls. */
public final class Functions {
  private Functions() {}

  /** Per cent off for so many pieces. */
  public static int discount(int pieces) {
    return Math.min(20, pieces);
  }

  /** Takes its time. */
  public static int pause(int millis) {
    try {
      Thread.sleep(millis);
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
    return millis;
  }
}
