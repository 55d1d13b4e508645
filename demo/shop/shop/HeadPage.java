package shop;

import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.Connection;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;

/** What every page begins with; other pages include it. */
@WebServlet("/head")
public final class HeadPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException {
    try (Statement count = db.createStatement();
        ResultSet row = count.executeQuery("SELECT COUNT(*) FROM item")) {
      row.next();
      response.getWriter().printf("<h1>A small shop</h1><p>%d items</p>%n", row.getInt(1));
    }
  }
}
