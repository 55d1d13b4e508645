package bench;

import java.util.concurrent.CountDownLatch;

/** Threads that wait for their end and do nothing else. */
final class IdleThreads {
  private final CountDownLatch end = new CountDownLatch(1);
  private final Thread[] threads;

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
  }
}
