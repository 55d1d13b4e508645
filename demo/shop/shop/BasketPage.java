package shop;

import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.SQLException;

/** Puts two of an item into the customer's basket in one batch; needs a customer. */
@WebServlet("/basket")
public final class BasketPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException {
    try (PreparedStatement insert =
        db.prepareStatement("INSERT INTO basket (customer, item) VALUES (?, ?)")) {
      for (int i = 0; i < 2; i++) {
        insert.setString(1, request.getRemoteUser());
        insert.setInt(2, number(request, "id", 1));
        insert.addBatch();
      }
      insert.executeBatch();
    }
    response.getWriter().println("<p>In your basket.</p>");
  }
}
