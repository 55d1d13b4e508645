package com.norvik.av.rsadapter.jdbc;

/** The newer server's resource adapter's view of a prepared statement. */
public class VeloraPreparedStatement {
  /** An execution of the statement starts. */
  public static native void beginSQLRequest(String sql, String dataSrcName);

  /** The execution ended. */
  public static native void endSQLRequest(String sql, String dataSrcName);
}
