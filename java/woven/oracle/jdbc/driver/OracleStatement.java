package oracle.jdbc.driver;

/** The driver's statement class, as far as the agent adds to it. */
public class OracleStatement {
  /** A statement of this driver starts. */
  public static native void beginSQLRequest(String sql, String dataSrcName);

  /** The statement ended. */
  public static native void endSQLRequest(String sql, String dataSrcName);
}
