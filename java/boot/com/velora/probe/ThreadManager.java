package com.velora.probe;

/** Requests as the calling thread executes them, and what the native side says of its threads. */
public final class ThreadManager {
  private ThreadManager() {}

  /** One line on the native memory taken, or null before the memory monitor exists. */
  public static native String getNativeProbeStatus();

  /** Ids of the threads stopped since the last call, each "%10d;", or null. */
  public static native String getNativeStoppedThreadIDs();

  /** What was created, sent, is queued and was lost, with the causes of the losses. */
  public static native String getNativeLossReport();

  /** The calling thread's id. */
  public static native long getEnv();

  public static native void startNativeHttpRequest(
      String requestObj, String requestName, String applicationName, String url, String userId);

  public static native void errorNativeHttpRequest(
      String requestName, String applicationName, String err);

  public static native void finishNativeHttpRequest(
      String requestName, String applicationName, String url);
}
