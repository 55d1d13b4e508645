package test;

import com.velora.web.jakarta.VeloraFilter;
import jakarta.servlet.FilterChain;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.Statement;

/** The jar without the agent's classes, or without the library behind them: nobody notices. */
public final class NoAgentTest {
  public static void main(String[] args) throws Exception {
    DriverManager.registerDriver(new FakeDriver());
    for (int round = 0; round < 2; round++) {
      int[] served = {0};
      IOException gone = new IOException("gone");
      FilterChain chain = (request, response) -> {
        served[0]++;
        throw gone;
      };
      HttpServletRequest request = Fakes.of(HttpServletRequest.class);
      HttpServletResponse response = Fakes.of(HttpServletResponse.class);
      Check.rethrows(
          "request", gone, () -> new VeloraFilter().doFilter(request, response, chain));
      Check.same("served once", 1, served[0]);
      try (Connection connection = DriverManager.getConnection("jdbc:velora:fake:x");
          Statement statement = connection.createStatement()) {
        Check.same("statement", 3, statement.executeUpdate("update"));
        Check.rethrows("failure", FakeDriver.FAILURE, () -> statement.execute("fail"));
      }
    }
    Check.finish();
  }
}
