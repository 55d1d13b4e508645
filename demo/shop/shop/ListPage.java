package shop;

import jakarta.servlet.ServletException;
import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.io.PrintWriter;
import java.sql.Connection;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;

/** The items of a category, with plain SQL; the head of the page is a servlet of its own. */
@WebServlet("/list")
public final class ListPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException, ServletException {
    include(request, response, "/head");
    int category = number(request, "category", 1);
    PrintWriter out = response.getWriter();
    try (Statement select = db.createStatement();
        ResultSet rows =
            select.executeQuery(
                "SELECT id, name, price FROM item WHERE category = " + category + " ORDER BY name")) {
      while (rows.next()) {
        out.printf(
            "<p><a href=item?id=%d>%s</a> %s</p>%n",
            rows.getInt(1), rows.getString(2), rows.getBigDecimal(3));
      }
    }
  }
}
