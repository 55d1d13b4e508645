package shop;

import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.Connection;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;

/** A slow statement and slow work of the page itself. */
@WebServlet("/slow")
public final class SlowPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException {
    try (Statement slow = db.createStatement();
        ResultSet row = slow.executeQuery("SELECT PAUSE(" + number(request, "millis", 300) + ")")) {
      row.next();
    }
    Functions.pause(100);
    response.getWriter().println("<p>At last.</p>");
  }
}
