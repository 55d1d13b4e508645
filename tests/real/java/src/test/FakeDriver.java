package test;

import java.sql.CallableStatement;
import java.sql.Connection;
import java.sql.DatabaseMetaData;
import java.sql.Driver;
import java.sql.DriverPropertyInfo;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.Properties;
import java.util.logging.Logger;

/** Answers to "jdbc:fake:". Statements whose text holds "fail" throw {@link #FAILURE}. */
public final class FakeDriver implements Driver {
  static final SQLException FAILURE = new SQLException("no such table", "42S02", 7);
  static final ResultSet KEYS = Fakes.of(ResultSet.class);

  /** A driver's own connection type, reached by unwrapping. */
  interface Vendor extends Connection {}

  static Vendor connection;
  static final Fakes.Answer RAW = args -> connection;
  static Properties passed;
  static String url;

  @Override
  public Connection connect(String target, Properties info) {
    if (!acceptsURL(target)) {
      return null;
    }
    url = target;
    passed = info;
    connection =
        Fakes.of(
            Vendor.class,
            "createStatement", statement(Statement.class),
            "prepareStatement", statement(PreparedStatement.class),
            "prepareCall", statement(CallableStatement.class),
            "getMetaData", Fakes.of(DatabaseMetaData.class, "getConnection", RAW),
            "unwrap", new SQLException("not a wrapper"),
            "toString", "fake connection");
    return connection;
  }

  private static Fakes.Answer statement(Class<? extends Statement> type) {
    return made -> {
      String prepared = made == null || !(made[0] instanceof String) ? "" : (String) made[0];
      Fakes.Answer failing = args -> {
        String text = args == null ? prepared : (String) args[0];
        if (text.contains("fail")) {
          throw FAILURE;
        }
        return null;
      };
      return Fakes.of(
          type,
          "executeQuery", failing,
          "execute", (Fakes.Answer) args -> failing.to(args) == null,
          "executeUpdate", (Fakes.Answer) args -> failing.to(args) == null ? 3 : 0,
          "executeLargeUpdate", (Fakes.Answer) args -> failing.to(args) == null ? 3L : 0L,
          "executeBatch", new int[] {1, 1},
          "getGeneratedKeys", KEYS,
          "getConnection", RAW);
    };
  }

  @Override public boolean acceptsURL(String target) { return target.startsWith("jdbc:fake:"); }
  @Override public DriverPropertyInfo[] getPropertyInfo(String target, Properties info) { return null; }
  @Override public int getMajorVersion() { return 9; }
  @Override public int getMinorVersion() { return 9; }
  @Override public boolean jdbcCompliant() { return true; }
  @Override public Logger getParentLogger() { return null; }
}
