package p;

/** What the rewritten loaders define; not on the class path. */
public class Product {
  public static String text() {
    return "plain";
  }
}
