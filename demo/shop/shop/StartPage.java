package shop;

import jakarta.servlet.ServletException;
import jakarta.servlet.annotation.WebServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.Connection;
import java.sql.SQLException;

/** A page made of whole other pages, three servlets deep. */
@WebServlet("/start")
public final class StartPage extends Page {
  private static final long serialVersionUID = 1;

  @Override
  void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException, ServletException {
    include(request, response, "/list");
    include(request, response, "/item");
  }
}
