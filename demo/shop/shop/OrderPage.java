package shop;

import jakarta.servlet.ServletException;
import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.CallableStatement;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;

/** Orders the basket: a transaction with a stored function; the receipt is forwarded to. */
@WebServlet("/order")
public final class OrderPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException, ServletException {
    db.setAutoCommit(false);
    try (PreparedStatement empty = db.prepareStatement("DELETE FROM basket WHERE customer = ?");
        CallableStatement discount = db.prepareCall("{call DISCOUNT(?)}")) {
      empty.setString(1, request.getRemoteUser());
      int pieces = empty.executeUpdate();
      discount.setInt(1, pieces);
      try (ResultSet row = discount.executeQuery()) {
        row.next();
        request.setAttribute("pieces", pieces);
        request.setAttribute("discount", row.getInt(1));
      }
      db.commit();
    } finally {
      db.setAutoCommit(true);
    }
    request.getRequestDispatcher("/receipt").forward(request, response);
  }
}
