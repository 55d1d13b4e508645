package com.velora.bcm.bootstrap;

/** The instrumented classes, as the native side asks for them. */
public final class BcmRoot {
  private BcmRoot() {}

  /** Called after a reconnection to report every instrumented class again; so far there is none. */
  public static void sendAllClassEvents() {}
}
