package com.velora.probe;

/** Reports of the publish server's state. */
public final class PSStatusThread {
  private PSStatusThread() {}

  /** The publish server's state as a text. */
  public static native void sendStatusEvent(String status);
}
