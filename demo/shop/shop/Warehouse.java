package shop;

import jakarta.servlet.ServletContextEvent;
import jakarta.servlet.ServletContextListener;
import jakarta.servlet.annotation.WebListener;
import java.sql.Connection;
import java.sql.SQLException;
import java.sql.Statement;
import javax.naming.NamingException;

/** Fills the database when the shop opens. */
@WebListener
public final class Warehouse implements ServletContextListener {
  private static final String[] SCHEMA = {
    "CREATE TABLE item (id INT PRIMARY KEY, name VARCHAR(80), category INT, price DECIMAL(8, 2))",
    "CREATE TABLE stock (item INT PRIMARY KEY, pieces INT)",
    "CREATE TABLE basket (customer VARCHAR(40), item INT)",
    "CREATE TABLE receipt (id INT GENERATED ALWAYS AS IDENTITY, customer VARCHAR(40), pieces INT)",
    "CREATE ALIAS DISCOUNT FOR \"shop.Functions.discount\"",
    "CREATE ALIAS PAUSE FOR \"shop.Functions.pause\"",
    "INSERT INTO item SELECT x, 'Thing number ' || x, MOD(x, 5), x * 1.25 FROM SYSTEM_RANGE(1, 100)",
    "INSERT INTO stock SELECT id, MOD(id * 7, 40) FROM item",
  };

  @Override
  public void contextInitialized(ServletContextEvent event) {
    try (Connection db = Page.database().getConnection();
        Statement statement = db.createStatement()) {
      for (String sql : SCHEMA) {
        statement.execute(sql);
      }
    } catch (SQLException | NamingException e) {
      throw new IllegalStateException("The shop cannot open", e);
    }
  }
}
