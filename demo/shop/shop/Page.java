package shop;

import jakarta.servlet.ServletException;
import jakarta.servlet.http.HttpServlet;
import jakarta.servlet.http.HttpServletRequest;
import jakarta.servlet.http.HttpServletResponse;
import java.io.IOException;
import java.sql.Connection;
import java.sql.SQLException;
import javax.naming.InitialContext;
import javax.naming.NamingException;
import javax.sql.DataSource;

/** A page of the shop: takes a connection from the pool, answers, gives the connection back. */
abstract class Page extends HttpServlet {
  private static final long serialVersionUID = 1;

  abstract void answer(Connection db, HttpServletRequest request, HttpServletResponse response)
      throws SQLException, IOException, ServletException;

  @Override
  protected void doGet(HttpServletRequest request, HttpServletResponse response)
      throws IOException, ServletException {
    response.setContentType("text/html;charset=UTF-8");
    try (Connection db = database().getConnection()) {
      answer(db, request, response);
    } catch (SQLException | NamingException e) {
      throw new ServletException("The shop's database failed", e);
    }
  }

  @Override
  protected void doPost(HttpServletRequest request, HttpServletResponse response)
      throws IOException, ServletException {
    doGet(request, response);
  }

  static DataSource database() throws NamingException {
    return InitialContext.doLookup("java:comp/env/jdbc/shop");
  }

  static int number(HttpServletRequest request, String name, int otherwise) {
    String text = request.getParameter(name);
    return text == null ? otherwise : Integer.parseInt(text);
  }

  static void include(HttpServletRequest request, HttpServletResponse response, String path)
      throws IOException, ServletException {
    request.getRequestDispatcher(path).include(request, response);
  }
}
