package com.velora.probe.event;

/** Lends a Java thread to one native network agent. */
public final class NetworkAgent {
  public static native int getNetAgentCount();

  /** Runs agent {@code id} on the calling thread until it is stopped. */
  public native void startThread(int id);

  public native void stopThread(int id);
}
