package com.velora.probe;

/** Stands where the agent's class stands, without a library behind it. */
public final class ProbeUtils {
  public static boolean customServiceStart() {
    Calls.note("service");
    if (Calls.refused.equals("linkage")) {
      throw new UnsatisfiedLinkError("customServiceStart");
    }
    return !Calls.refused.equals("service");
  }

  public static void beginNativeSQLRequest(String sql, String source) {
    Calls.note("begin", sql, source);
  }

  public static void endNativeSQLRequest(String sql, String source) {
    Calls.note("end", sql, source);
  }
}
