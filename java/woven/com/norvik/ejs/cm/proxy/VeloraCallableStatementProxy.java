package com.norvik.ejs.cm.proxy;

/** The older server's proxy of a callable statement. */
public class VeloraCallableStatementProxy {
  /** An execution of the statement starts. */
  public static native void beginSQLRequest(String sql, String dataSrcName);

  /** The execution ended. */
  public static native void endSQLRequest(String sql, String dataSrcName);
}
