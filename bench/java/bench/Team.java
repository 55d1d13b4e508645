package bench;

import java.lang.management.ManagementFactory;
import java.lang.management.ThreadMXBean;
import java.util.concurrent.BrokenBarrierException;
import java.util.concurrent.CyclicBarrier;
import java.util.concurrent.atomic.AtomicInteger;

/** Threads that run a burst of a case at the same time, each all of it. */
final class Team {
  /** Nanoseconds of a core for one pair: by the wall clock, and as the threads were charged. */
  record Cost(double wall, double cpu) {}

  private static final int CORES = Runtime.getRuntime().availableProcessors();
  private static final ThreadMXBean CLOCK = ManagementFactory.getThreadMXBean();

  private final CyclicBarrier call;
  private final CyclicBarrier begin;
  private final CyclicBarrier end;
  private final Member[] members;
  private final AtomicInteger ready = new AtomicInteger();
  private Case burstOf;
  private int pairs;

  Team(int size) {
    call = new CyclicBarrier(size + 1);
    begin = new CyclicBarrier(size + 1);
    end = new CyclicBarrier(size + 1);
    members = new Member[size];
    for (int i = 0; i < size; i++) {
      members[i] = new Member();
      Thread thread = new Thread(members[i], "pairs-" + i);
      thread.setDaemon(true);
      thread.start();
    }
  }

  int size() {
    return members.length;
  }

  Cost run(Case each, int count) {
    burstOf = each;
    pairs = count;
    meet(call);
    meet(begin);
    meet(end);
    long first = Long.MAX_VALUE;
    long last = Long.MIN_VALUE;
    long cpu = 0;
    for (Member member : members) {
      first = Math.min(first, member.begun);
      last = Math.max(last, member.ended);
      cpu += member.cpu;
    }
    double all = (double) count * members.length;
    return new Cost((last - first) * Math.min(CORES, members.length) / all, cpu / all);
  }

  private static void meet(CyclicBarrier barrier) {
    try {
      barrier.await();
    } catch (InterruptedException | BrokenBarrierException e) {
      throw new IllegalStateException(e);
    }
  }

  private final class Member implements Runnable {
    private long begun;
    private long ended;
    private long cpu;

    @Override
    public void run() {
      while (true) {
        meet(call);
        // By a thread that will read them: in a server a request's texts come from its own thread.
        if (this == members[0]) {
          Texts.renew();
        }
        meet(begin);
        burst();
        meet(end);
      }
    }

    /** A burst is shorter than a thread takes to wake up, and than two that woke up on one core
     *  share it: who has a core to itself is busy until the scheduler has seen it, and the others. */
    private void startTogether() {
      if (members.length == 1 || members.length > CORES) {
        return;
      }
      long seen = System.nanoTime() + 10_000_000L;
      while (System.nanoTime() < seen) {
        Thread.onSpinWait();
      }
      int all = members.length * (ready.getAndIncrement() / members.length + 1);
      while (ready.get() < all) {
        Thread.onSpinWait();
      }
    }

    /** The first pairs bring code and data back into the caches and are not measured. */
    private void burst() {
      int warm = pairs / 20;
      burstOf.prepare();
      burstOf.run(warm);
      startTogether();
      long cpuBefore = CLOCK.getCurrentThreadCpuTime();
      begun = System.nanoTime();
      burstOf.run(pairs);
      ended = System.nanoTime();
      cpu = CLOCK.getCurrentThreadCpuTime() - cpuBefore;
      burstOf.count(pairs + warm);
      burstOf.finish();
    }
  }
}
