package bench;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.concurrent.atomic.AtomicLong;
import java.util.concurrent.locks.LockSupport;

/**
 * Requests to the shop. Each line of standard input, {@code PORT CONNECTIONS SECONDS RATE}, asks
 * for one load and gets one line: requests done for each second, those answered with another
 * status than 200, and the latencies as {@code BUCKET:COUNT}, where a bucket of number n ends at
 * 1.01<sup>n</sup> microseconds.
 *
 * <p>With a rate the requests have their times beforehand, and latency counts from there: a server
 * that stalls delays the answers to all requests that were due meanwhile, whether they could be
 * sent or not. With rate 0 each connection sends its next request when the last one is answered.
 */
public final class Load {
  private static final byte[][] PAGES = new byte[40][];

  static {
    String[] pages = {"list?category=", "item?id=", "start?id="};
    for (int i = 0; i < PAGES.length; i++) {
      PAGES[i] = HttpConnection.request("/shop/" + pages[i % pages.length] + (1 + i % 4));
    }
  }

  private final int port;
  private final long begin = System.nanoTime() + 50_000_000L;
  private final long end;
  private final double spacing;
  private final AtomicLong next = new AtomicLong();
  private final AtomicInteger count = new AtomicInteger();
  private final AtomicInteger wrong = new AtomicInteger();
  private final long[] latencies = new long[5_000_000];

  private Load(int port, double seconds, double rate) {
    this.port = port;
    end = begin + (long) (seconds * 1e9);
    spacing = rate > 0 ? 1e9 / rate : 0;
  }

  public static void main(String[] args) throws IOException, InterruptedException {
    BufferedReader commands = new BufferedReader(new InputStreamReader(System.in));
    for (String line = commands.readLine(); line != null; line = commands.readLine()) {
      String[] words = line.trim().split(" ");
      Load load = new Load(
          Integer.parseInt(words[0]), Double.parseDouble(words[2]), Double.parseDouble(words[3]));
      load.run(Integer.parseInt(words[1]));
    }
  }

  private void run(int connections) throws InterruptedException {
    Thread[] threads = new Thread[connections];
    for (int i = 0; i < connections; i++) {
      threads[i] = new Thread(this::send);
      threads[i].start();
    }
    for (Thread thread : threads) {
      thread.join();
    }
    int done = count.get();
    long took = Math.max(System.nanoTime(), end) - begin;
    StringBuilder line = new StringBuilder().append(done / (took / 1e9)).append(' ').append(wrong);
    Map<Integer, Integer> buckets = new TreeMap<>();
    for (int i = 0; i < done; i++) {
      buckets.merge(bucketOf(latencies[i] / 1e3), 1, Integer::sum);
    }
    buckets.forEach((bucket, many) -> line.append(' ').append(bucket).append(':').append(many));
    System.out.println(line);
  }

  private static int bucketOf(double microseconds) {
    return (int) Math.ceil(Math.log(Math.max(microseconds, 1)) / Math.log(1.01));
  }

  private void send() {
    try (HttpConnection connection = new HttpConnection(port)) {
      for (long number = next.getAndIncrement(), due = due(number); due < end;
          number = next.getAndIncrement(), due = due(number)) {
        waitUntil(due);
        int status = connection.get(PAGES[(int) (number % PAGES.length)]);
        latencies[count.getAndIncrement()] = System.nanoTime() - due;
        if (status != 200) {
          wrong.incrementAndGet();
        }
      }
    } catch (IOException e) {
      wrong.incrementAndGet();
      System.err.println(e);
    }
  }

  private long due(long number) {
    return spacing > 0 ? begin + (long) (number * spacing) : Math.max(begin, System.nanoTime());
  }

  private static void waitUntil(long due) {
    for (long left = due - System.nanoTime(); left > 0; left = due - System.nanoTime()) {
      LockSupport.parkNanos(left);
    }
  }
}
