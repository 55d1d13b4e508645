package bench;

import java.util.concurrent.CountDownLatch;

/** Waiting; nobody interrupts the threads of a benchmark. */
final class Threads {
  private Threads() {}

  static void await(CountDownLatch latch) {
    try {
      latch.await();
    } catch (InterruptedException e) {
      throw new IllegalStateException(e);
    }
  }

  static void pause() {
    try {
      Thread.sleep(1);
    } catch (InterruptedException e) {
      throw new IllegalStateException(e);
    }
  }

  static void join(Thread thread) {
    try {
      thread.join();
    } catch (InterruptedException e) {
      throw new IllegalStateException(e);
    }
  }
}
