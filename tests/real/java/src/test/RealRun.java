package test;

import com.velora.probe.ProbeController;
import com.velora.probe.ThreadManager;
import com.velora.web.jakarta.VeloraFilter;
import jakarta.servlet.DispatcherType;
import jakarta.servlet.FilterChain;
import jakarta.servlet.ServletException;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.SQLException;

/** A server of one request, with the agent: it ends at once and leaves the rest to the exit flush. */
public final class RealRun {
  private static final long LONGEST_NANOS = 30_000_000_000L;

  private RealRun() {}

  public static void main(String[] args) throws Exception {
    waitUntilCollecting();
    DriverManager.registerDriver(new FakeDriver());
    HttpServletRequest request =
        Fakes.of(
            HttpServletRequest.class,
            "getMethod", "GET", "getServletPath", "/item", "getContextPath", "/shop",
            "getRequestURL", new StringBuffer("http://h/shop/item"), "getRemoteUser", "ann",
            "getDispatcherType", DispatcherType.REQUEST);
    FilterChain chain = (q, r) -> work();
    HttpServletResponse response = Fakes.of(HttpServletResponse.class, "getStatus", 500);
    new VeloraFilter().doFilter(request, response, chain);
    for (Thread thread : Thread.getAllStackTraces().keySet()) {
      if (thread.getName().startsWith("Velora ")) {
        System.out.println(thread.getName() + (thread.isDaemon() ? "" : " keeps the server up"));
      }
    }
    System.out.println(ThreadManager.getNativeLossReport());
  }

  private static void work() throws ServletException {
    try (Connection db = DriverManager.getConnection("jdbc:velora:fake:shop")) {
      db.createStatement().execute("select 'plain'");
      db.prepareStatement("select 'prepared' where ?").executeQuery();
      db.prepareCall("{call called(?)}").execute();
    } catch (SQLException e) {
      throw new ServletException(e);
    }
  }

  /** Both sides are up, and so the probe collects, once the publish server was reached. */
  private static void waitUntilCollecting() throws InterruptedException {
    long end = System.nanoTime() + LONGEST_NANOS;
    while (!ProbeController.isNativeProbeEnabled()) {
      if (System.nanoTime() > end) {
        throw new IllegalStateException("the probe collects nothing");
      }
      Thread.sleep(20);
    }
  }
}
