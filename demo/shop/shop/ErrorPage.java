package shop;

import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.sql.Connection;
import java.sql.SQLException;
import java.sql.Statement;

/** Asks for a table that is not there; the exception reaches the server. */
@WebServlet("/error")
public final class ErrorPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException {
    try (Statement select = db.createStatement()) {
      select.executeQuery("SELECT * FROM a_table_that_is_not_there");
    }
  }
}
