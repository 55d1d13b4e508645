package com.velora.web.jdbc;

import java.lang.reflect.Method;
import java.sql.CallableStatement;
import java.sql.Connection;
import java.sql.DatabaseMetaData;
import java.sql.PreparedStatement;
import java.sql.Statement;

/** Hands out statements that report themselves. */
final class ConnectionHandler extends Delegate<Connection> {
  private final String dataSource;

  private ConnectionHandler(Connection target, String dataSource) {
    super(target);
    this.dataSource = dataSource;
  }

  static Connection wrap(Connection target, String dataSource) {
    return proxy(Connection.class, new ConnectionHandler(target, dataSource));
  }

  @Override
  Object call(Object self, Method method, Object[] args) throws Throwable {
    Object result = pass(method, args);
    if (result instanceof Statement) {
      return statement((Connection) self, method.getReturnType(), (Statement) result, args);
    }
    if (result instanceof DatabaseMetaData) {
      return proxy(DatabaseMetaData.class, new MetaData((DatabaseMetaData) result, self));
    }
    return result;
  }

  /** The declared type decides: a driver may hand out one class for all three kinds. */
  private Object statement(Connection self, Class<?> type, Statement made, Object[] args) {
    String sql = type == Statement.class ? null : (String) args[0];
    Class<?> kind =
        type == CallableStatement.class || type == PreparedStatement.class ? type : Statement.class;
    return proxy(kind, new StatementHandler(made, self, sql, dataSource));
  }

  /** Only there to lead back to the reporting connection. */
  private static final class MetaData extends Delegate<DatabaseMetaData> {
    private final Object connection;

    MetaData(DatabaseMetaData target, Object connection) {
      super(target);
      this.connection = connection;
    }

    @Override
    Object call(Object self, Method method, Object[] args) throws Throwable {
      Object result = pass(method, args);
      return method.getName().equals("getConnection") && result != null ? connection : result;
    }
  }
}
