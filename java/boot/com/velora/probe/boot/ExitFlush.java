package com.velora.probe.boot;

import com.velora.probe.ProbeController;

/** Sends what is still queued when the JVM exits, so long that with the ends of the threads the exit stays within a second. */
final class ExitFlush extends Thread {
  private static final int LONGEST_MILLIS = 600;

  ExitFlush() {
    super("Velora Exit Flush");
  }

  @Override
  public void run() {
    try {
      ProbeController.flushNativeProbe(LONGEST_MILLIS);
    } catch (Throwable e) {
      // The server is leaving: a lost remainder is no reason to speak up or to hold it back.
    }
  }
}
