package bench;

import java.io.File;
import java.util.concurrent.CountDownLatch;

/** Threads that wait for their end and do nothing else. */
final class IdleThreads {
  private final CountDownLatch end = new CountDownLatch(1);
  private final Thread[] threads;
  private final int others = inProcess();

  IdleThreads(int count) {
    threads = new Thread[count];
    CountDownLatch started = new CountDownLatch(count);
    for (int i = 0; i < count; i++) {
      threads[i] = new Thread(() -> {
        started.countDown();
        Threads.await(end);
      }, "idle-" + i);
      threads[i].start();
    }
    Threads.await(started);
  }

  void end() {
    end.countDown();
    for (Thread thread : threads) {
      Threads.join(thread);
    }
    // A thread that has ended for Java is still the system's for a while.
    while (inProcess() > others + threads.length / 100) {
      Threads.pause();
    }
  }

  private static int inProcess() {
    return new File("/proc/self/task").list().length;
  }
}
