import java.util.ArrayList;
import java.util.List;

/** Collections whose handlers take a lock that other threads hold over calls into the JVM. */
public final class GcStress {
  private static volatile boolean stop;
  private static volatile Object sink;

  private static void hold() {
    while (!stop) Probe.lockedWork("text");
  }

  private static void allocate() {
    while (!stop) sink = new byte[100_000];
  }

  public static void main(String[] args) throws Exception {
    int wanted = Integer.parseInt(args[0]);
    List<Thread> threads = new ArrayList<>();
    for (int i = 0; i < 2; i++) threads.add(new Thread(GcStress::hold));
    threads.add(new Thread(GcStress::allocate));
    for (Thread thread : threads) thread.start();
    Probe.await(
        () -> {
          Probe.runGc();
          return Probe.count(61) >= wanted;
        });
    stop = true;
    for (Thread thread : threads) thread.join();
    Probe.await(() -> Probe.count(60) == Probe.count(61));
    Probe.check(!Probe.heapFiguresWrong(), "used and total sizes disagree");
    System.out.println("PASS");
  }
}
