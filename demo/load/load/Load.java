package load;

import java.io.IOException;
import java.io.InputStream;
import java.net.HttpURLConnection;
import java.net.URI;
import java.util.Base64;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * Customers of the shop: {@code Load wait BASE SECONDS} until it answers, or
 * {@code Load run BASE CUSTOMERS ROUNDS} for rounds of the same pages by customers at once.
 */
public final class Load {
  /** Path and the status that belongs to it. */
  private static final String[][] ROUND = {
    {"list?category=1", "200"}, {"item?id=7", "200"}, {"basket?id=7", "200"},
    {"order", "200"}, {"start?id=3", "200"}, {"item?id=12345", "404"},
    {"slow?millis=300", "200"}, {"error", "500"},
  };

  private static final AtomicInteger answered = new AtomicInteger();
  private static final AtomicInteger wrong = new AtomicInteger();

  private Load() {}

  public static void main(String[] args) throws InterruptedException {
    String base = args[1];
    int number = Integer.parseInt(args[2]);
    boolean good =
        args[0].equals("wait") ? answers(base, number) : run(base, number, Integer.parseInt(args[3]));
    System.exit(good ? 0 : 1);
  }

  private static boolean answers(String base, int seconds) throws InterruptedException {
    long end = System.nanoTime() + seconds * 1_000_000_000L;
    while (System.nanoTime() < end) {
      if (status(base + "/sorry.html", null) == 200) {
        return true;
      }
      Thread.sleep(100);
    }
    return false;
  }

  private static boolean run(String base, int customers, int rounds) throws InterruptedException {
    Thread[] threads = new Thread[customers];
    for (int i = 0; i < customers; i++) {
      String name = i % 2 == 0 ? "ann" : "bob";
      threads[i] = new Thread(() -> shop(base, name, rounds), name + i);
      threads[i].start();
    }
    for (Thread thread : threads) {
      thread.join();
    }
    System.out.println("   " + answered + " requests, " + wrong + " with another status than meant");
    return wrong.get() == 0;
  }

  private static void shop(String base, String customer, int rounds) {
    for (int round = 0; round < rounds; round++) {
      for (String[] page : ROUND) {
        int status = status(base + "/" + page[0], customer);
        answered.incrementAndGet();
        if (status != Integer.parseInt(page[1])) {
          wrong.incrementAndGet();
          System.out.println("   " + page[0] + " answered " + status);
        }
      }
    }
  }

  /** 0 when nobody answers. The body is read to its end, which keeps the connection in use. */
  private static int status(String url, String customer) {
    try {
      HttpURLConnection connection =
          (HttpURLConnection) URI.create(url).toURL().openConnection();
      connection.setReadTimeout(20_000);
      if (customer != null) {
        String pair = customer + ":" + customer;
        connection.setRequestProperty(
            "Authorization", "Basic " + Base64.getEncoder().encodeToString(pair.getBytes()));
      }
      int status = connection.getResponseCode();
      try (InputStream body =
          status < 400 ? connection.getInputStream() : connection.getErrorStream()) {
        if (body != null) {
          body.readAllBytes();
        }
      }
      return status;
    } catch (IOException e) {
      return 0;
    }
  }
}
