package shop;

import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;

/** How many of an item are left. */
@WebServlet("/stock")
public final class StockPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException {
    try (PreparedStatement select =
        db.prepareStatement("SELECT pieces FROM stock WHERE item = ?")) {
      select.setInt(1, number(request, "id", 1));
      try (ResultSet row = select.executeQuery()) {
        response.getWriter().printf("<p>%d left</p>%n", row.next() ? row.getInt(1) : 0);
      }
    }
  }
}
