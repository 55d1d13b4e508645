package com.velora.probe;

/** Life of the custom service and the reports of calls that an application makes. */
public final class ProbeUtils {
  private ProbeUtils() {}

  /** Creates the native managers; false when the JVM offers no event interface. */
  public static native boolean customServiceStart();

  public static native void customServiceShutDown();

  public static native void beginNativeSQLRequest(String sql, String dataSrcName);

  public static native void endNativeSQLRequest(String sql, String dataSrcName);

  public static native String getBuildTime();
}
