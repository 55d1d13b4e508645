package com.velora.command;

/** What operators ask of a running server, and the reports of calls between processes. */
public final class CommandAgent {
  private CommandAgent() {}

  /** A call to another process starts; it has a new token. */
  public static native void startNativeGpsInvokeRequest();

  /** The call to the other process has returned. */
  public static native void endNativeGpsInvokeRequest();

  /** A request from another process starts; its token comes as eight hexadecimal digits. */
  public static native void startNativeGpsReceiveRequest(String gpsToken);

  /** The request from the other process is complete. */
  public static native void completeNativeGpsReceiveRequest(String gpsToken);

  /**
   * The calling thread's token, highest byte first; four zeros when it has none, and while reports
   * are turned away.
   */
  public static native byte[] getNativeGpsToken();

  /** Id of a live thread of that name in that thread group; 0: none. */
  public static native long getThreadId(String threadName, String groupName);

  /** Writes a thread dump and fills in where it lies; 0, or what went wrong. */
  public static native int generateThreadDump(ThreadDumpInfo threadDumpInfo);
}
