package com.norvik.ejs.cm.proxy;

/** The older server's proxy of a prepared statement. */
public class VeloraPreparedStatementProxy {
  /** Keeps the statement and its data source with the calling thread; null sql: nothing. */
  public static native void setSQL(String sql, String DataSourceName);

  /** An execution of the statement starts. */
  public static native void beginSQLRequest(String sql, String dataSrcName);

  /** The execution ended. */
  public static native void endSQLRequest(String sql, String dataSrcName);
}
