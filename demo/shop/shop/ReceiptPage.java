package shop;

import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.SQLException;

/** Reached by a forward after an order. */
@WebServlet("/receipt")
public final class ReceiptPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException {
    try (PreparedStatement insert =
        db.prepareStatement("INSERT INTO receipt (customer, pieces) VALUES (?, ?)")) {
      insert.setString(1, request.getRemoteUser());
      insert.setObject(2, request.getAttribute("pieces"));
      insert.executeUpdate();
    }
    response
        .getWriter()
        .printf(
            "<p>Ordered %s pieces, %s %% off.</p>%n",
            request.getAttribute("pieces"), request.getAttribute("discount"));
  }
}
