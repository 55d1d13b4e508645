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

  /** A page or service is requested; {@code requestObj} is not looked at. */
  public static native void startNativeHttpRequest(
      String requestObj, String requestName, String applicationName, String url, String userId);

  /** The request failed, which ends it; JSP_CANCEL_REQUEST as its name ends all of the thread's. */
  public static native void errorNativeHttpRequest(
      String requestName, String applicationName, String err);

  /** The request has ended; JSP_CANCEL_REQUEST as its name ends all of the thread's. */
  public static native void finishNativeHttpRequest(
      String requestName, String applicationName, String url);

  /** A bean's method is called. */
  public static native void beginNativeEJBRequest(
      String requestName, String applicationName, String url);

  /** The bean's method has returned. */
  public static native void endNativeEJBRequest(
      String requestName, String applicationName, String url);

  /** A remote object is called. */
  public static native void startIIOPClientRequest(String className, String methodName);

  /** The remote object has answered. */
  public static native void finishIIOPClientRequest(String className, String methodName);

  /** A call from a remote client starts. */
  public static native void startIIOPServerRequest(String className, String methodName);

  /** The call from the remote client has ended. */
  public static native void finishIIOPServerRequest();

  /** Sends a trace record, which shows that reports of this thread arrive. */
  public static native void issueTraceRequest();

  /**
   * Class name, method name and signature of each frame, the innermost first, then nulls up to
   * {@code maxDepth} frames; null while the probe is off.
   */
  public static native String[] getStackTrace(int threadId, int maxDepth, int jvmVendor);

  /** 0 to 3, with 0x8000 when suspended and 0x4000 when interrupted; 4: ended; -1: not known. */
  public static native int getNativeThreadStatus(int threadId);

  /** Notes 0x2000 resumed, 0x8000 suspended, 4 cancelled; nothing else. */
  public static native void setThreadStatus(int threadId, int threadStatus);
}
