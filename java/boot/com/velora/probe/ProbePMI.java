package com.velora.probe;

/** The agent's side of the server's performance counters. */
public final class ProbePMI {
  private ProbePMI() {}

  /** True: the native side has nothing to prepare for the counters. */
  public static native boolean initializeProbe();
}
