/** Says what the compiler is told to skip. */
public final class SkipOption {
    public static void main(String[] args) {
        System.out.println("option " + System.getenv("JITC_COMPILEOPT"));
    }
}
