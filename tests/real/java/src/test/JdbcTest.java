package test;

import java.sql.CallableStatement;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.Properties;

/** The wrapping driver in front of a fake one. */
public final class JdbcTest {
  private static final String SOURCE = "jdbc:fake:shop";

  public static void main(String[] args) throws Exception {
    findsDriverByClassName();
    DriverManager.registerDriver(new FakeDriver());
    namesWithoutSecrets();
    try (Connection connection = DriverManager.getConnection("jdbc:velora:fake:shop;cache=1")) {
      plainStatements(connection);
      preparedOnes(connection);
      batches(connection);
      failures(connection);
      looksLikeTheOriginal(connection);
    }
    Check.finish();
  }

  private static void findsDriverByClassName() throws Exception {
    Properties info = new Properties(new Properties());
    info.setProperty("velora.driver", "test.FakeDriver");
    info.setProperty("user", "ann");
    DriverManager.getConnection("jdbc:velora:jdbc:fake:x", info).close();
    Check.same("url behind the prefix", "jdbc:fake:x", FakeDriver.url);
    Check.same("our own property is not passed on", "{user=ann}", FakeDriver.passed.toString());
    Check.same("caller's properties stay", 2, info.size());
    String state = "";
    try {
      DriverManager.getConnection("jdbc:velora:nobody:x");
    } catch (SQLException e) {
      state = e.getSQLState();
    }
    Check.same("no driver at all", "08001", state);
  }

  private static void namesWithoutSecrets() throws Exception {
    String[][] cases = {
      {"fake:h:db;user=a;password=b", "jdbc:fake:h:db"},
      {"fake://host/db?user=a&password=b", "jdbc:fake://host/db"},
      {"fake://ann:pw@host:1/db", "jdbc:fake://host:1/db"},
      {"fake:thin:ann/pw@host:1:x", "jdbc:fake:thin:host:1:x"},
      {"fake:thin:ann/p@w@host", "jdbc:fake:thin:host"},
      {"fake:thin:@host:1:x", "jdbc:fake:thin:host:1:x"},
    };
    for (String[] c : cases) {
      try (Statement statement =
          DriverManager.getConnection("jdbc:velora:" + c[0]).createStatement()) {
        Check.reports(c[0], () -> statement.execute("x"), "begin|x|" + c[1], "end|x|" + c[1]);
      }
    }
  }

  private static String[] pair(String sql) {
    return new String[] {"begin|" + sql + "|" + SOURCE, "end|" + sql + "|" + SOURCE};
  }

  private static void plainStatements(Connection connection) throws Exception {
    Statement s = connection.createStatement();
    Check.reports("query", () -> s.executeQuery("select 1"), pair("select 1"));
    Check.reports("update", () -> s.executeUpdate("update 2"), pair("update 2"));
    Check.reports("keys wanted", () -> s.executeUpdate("insert 3", 1), pair("insert 3"));
    Check.reports("large", () -> s.executeLargeUpdate("insert 4"), pair("insert 4"));
    Check.reports("execute", () -> s.execute("drop 5"), pair("drop 5"));
    Check.reports("what executes nothing", () -> {
      s.getGeneratedKeys();
      s.setQueryTimeout(5);
      s.close();
    });
    Check.same("update count comes through", 3, s.executeUpdate("update"));
    Check.same("generated keys come through", FakeDriver.KEYS, s.getGeneratedKeys());
  }

  private static void preparedOnes(Connection connection) throws Exception {
    PreparedStatement p = connection.prepareStatement("select ? from t");
    Check.reports("preparing alone", () -> p.setString(1, "a"));
    Check.reports("query", p::executeQuery, pair("select ? from t"));
    Check.reports("again", p::executeUpdate, pair("select ? from t"));
    CallableStatement c = connection.prepareCall("{call f(?)}");
    Check.reports("call", c::execute, pair("{call f(?)}"));
    PreparedStatement keyed = connection.prepareStatement("insert", new String[] {"id"});
    Check.reports("with keys", keyed::execute, pair("insert"));
  }

  private static void batches(Connection connection) throws Exception {
    PreparedStatement p = connection.prepareStatement("insert ?");
    p.addBatch();
    p.addBatch();
    Check.reports("prepared batch", p::executeBatch, pair("insert ?"));
    Statement s = connection.createStatement();
    s.addBatch("one");
    s.addBatch("two");
    Check.reports("plain batch", s::executeBatch, pair("one; two"));
    s.addBatch("three");
    s.clearBatch();
    s.addBatch("four");
    Check.reports("cleared batch", s::executeBatch, pair("four"));
    Check.reports("empty batch", s::executeBatch, pair(""));
  }

  private static void failures(Connection connection) throws Exception {
    Statement s = connection.createStatement();
    PreparedStatement p = connection.prepareStatement("fail ?");
    Check.reports("one end after an exception",
        () -> Check.rethrows("plain", FakeDriver.FAILURE, () -> s.execute("fail")), pair("fail"));
    Check.reports("prepared, the same",
        () -> Check.rethrows("prepared", FakeDriver.FAILURE, p::executeQuery), pair("fail ?"));
  }

  private static void looksLikeTheOriginal(Connection connection) throws Exception {
    Statement s = connection.createStatement();
    Check.same("statement's connection", connection, s.getConnection());
    Check.same("metadata's connection", connection, connection.getMetaData().getConnection());
    Check.same("equals itself", true, connection.equals(connection));
    Check.same("as a key", connection.hashCode(), connection.hashCode());
    Check.same("text", "fake connection", connection.toString());
    Check.same("standard type", connection, connection.unwrap(Connection.class));
    Check.same("driver's type",
        FakeDriver.connection, connection.unwrap(FakeDriver.Vendor.class));
    Check.same("is for driver's type", true, connection.isWrapperFor(FakeDriver.Vendor.class));
    Check.same("is not for another", false, connection.isWrapperFor(Runnable.class));
    String message = "";
    try {
      connection.unwrap(Runnable.class);
    } catch (SQLException e) {
      message = e.getMessage();
    }
    Check.same("no such type: the driver's own refusal", "not a wrapper", message);
  }
}
