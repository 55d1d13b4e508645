package com.velora.probe;

/** Life of the custom service and the reports of calls that an application makes. */
public final class ProbeUtils {
  private ProbeUtils() {}

  /** Creates the native managers; false when the JVM offers no event interface. */
  public static native boolean customServiceStart();

  public static native void customServiceShutDown();

  public static native void beginNativeSQLRequest(String sql, String dataSrcName);

  public static native void endNativeSQLRequest(String sql, String dataSrcName);

  /** The user id in a credentials file; null when it cannot be read or permit is not the word. */
  public static native String getUser(String permit, String fname);

  /** The password in a credentials file; null when it cannot be read or permit is not the word. */
  public static native String getPassword(String permit, String fname);

  /** Writes a credentials file, readable by its owner alone; the log tells how it went. */
  public static native void genPasswordFile(String uid, String pswd, String filename);

  public static native String getBuildTime();
}
