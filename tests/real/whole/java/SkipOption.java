/** Says what the compiler is told to skip, and whether a child process can be started with it. */
public final class SkipOption {
    public static void main(String[] args) throws Exception {
        System.out.println("option " + System.getenv("JITC_COMPILEOPT"));
        System.out.println("child " + new ProcessBuilder("/bin/true").start().waitFor());
    }
}
