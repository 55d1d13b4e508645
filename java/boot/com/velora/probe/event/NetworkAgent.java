package com.velora.probe.event;

/** Lends a Java thread to one native network agent. */
public final class NetworkAgent {
  /** How many network agents there are to be. */
  public static native int getNetAgentCount();

  /** Runs agent {@code id} on the calling thread until it is stopped. */
  public native void startThread(int id);

  /** Ends the run of agent {@code id} and returns. */
  public native void stopThread(int id);
}
