package com.velora.probe.log;

/** The native side's log file, for the Java side. */
public final class ProbeLogger {
  public static final int ERROR = -2;
  public static final int INFO = 0;

  private ProbeLogger() {}

  /** Writes at most 2000 characters; null writes nothing. */
  public static native void write(int level, String text);

  /** The level of the operators' log or, from 20000 on, that of the trace log. */
  public static native void setNativeProbeLoggingLevel(int level);

  /** The log file's path; null when there is none. */
  public static native String getLogFileName();
}
