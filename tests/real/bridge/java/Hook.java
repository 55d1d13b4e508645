/** Prints what the class-load hook made of Victim. */
public final class Hook {
  public static void main(String[] args) {
    System.out.println("Victim says " + Victim.text());
  }
}
