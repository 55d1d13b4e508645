package com.velora.web.jdbc;

import com.velora.web.Reports;
import java.lang.reflect.Method;
import java.sql.Connection;
import java.sql.Statement;

/** Reports each execution of a statement: one begin, and one end however it went. */
final class StatementHandler extends Delegate<Statement> {
  /** A batch of thousands is as well known by its first few statements. */
  private static final int LONGEST_BATCH_TEXT = 4096;

  private final Connection connection;
  private final String prepared;
  private final String dataSource;
  private StringBuilder batch = new StringBuilder();

  /** {@code prepared} is null for a plain statement, whose executions bring their own text. */
  StatementHandler(Statement target, Connection connection, String prepared, String dataSource) {
    super(target);
    this.connection = connection;
    this.prepared = prepared;
    this.dataSource = dataSource;
  }

  @Override
  Object call(Object self, Method method, Object[] args) throws Throwable {
    String name = method.getName();
    if (name.startsWith("execute")) {
      return execute(method, args);
    }
    Object result = pass(method, args);
    switch (name) {
      case "addBatch":
        addToBatch(textOf(args));
        return result;
      case "clearBatch":
        batch = new StringBuilder();
        return result;
      case "getConnection":
        return result == null ? null : connection;
      default:
        return result;
    }
  }

  private Object execute(Method method, Object[] args) throws Throwable {
    String sql = args == null ? textOfExecution(method.getName()) : textOf(args);
    boolean reported = Reports.beginSql(sql, dataSource);
    try {
      return pass(method, args);
    } finally {
      if (reported) {
        Reports.endSql(sql, dataSource);
      }
    }
  }

  /** Without arguments it is the prepared statement or the batch that runs. */
  private String textOfExecution(String name) {
    if (prepared != null) {
      return prepared;
    }
    String text = name.endsWith("Batch") ? batch.toString() : "";
    batch = new StringBuilder();
    return text;
  }

  private static String textOf(Object[] args) {
    return args != null && args.length > 0 && args[0] instanceof String ? (String) args[0] : "";
  }

  private void addToBatch(String sql) {
    if (prepared != null || batch.length() >= LONGEST_BATCH_TEXT) {
      return;
    }
    if (batch.length() > 0) {
      batch.append("; ");
    }
    batch.append(sql);
  }
}
