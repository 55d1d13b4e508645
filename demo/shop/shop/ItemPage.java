package shop;

import jakarta.servlet.ServletException;
import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;

/** One item, with a prepared statement; its stock is a servlet of its own. */
@WebServlet("/item")
public final class ItemPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException, ServletException {
    include(request, response, "/head");
    try (PreparedStatement select =
        db.prepareStatement("SELECT name, price FROM item WHERE id = ?")) {
      select.setInt(1, number(request, "id", 1));
      try (ResultSet row = select.executeQuery()) {
        if (!row.next()) {
          response.sendError(HttpServletResponse.SC_NOT_FOUND);
          return;
        }
        response.getWriter().printf("<h2>%s</h2><p>%s</p>%n", row.getString(1), row.getString(2));
      }
    }
    include(request, response, "/stock");
  }
}
