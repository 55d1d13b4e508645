package com.velora.probe.log;

/** The native side's log file, for the Java side. */
public final class ProbeLogger {
  public static final int ERROR = -2;
  public static final int INFO = 0;

  private ProbeLogger() {}

  /** Writes at most 2000 characters; null writes nothing. */
  public static native void write(int level, String text);

  public static native void setNativeProbeLoggingLevel(int level);

  /** Null when there is no log file. */
  public static native String getLogFileName();
}
