/** A server that needs no agent: says "ready" and lives until its standard input ends. */
public class Waits {
    public static void main(String[] args) throws Exception {
        System.out.println("ready");
        while (System.in.read() >= 0) continue;
    }
}
