package com.velora.probe;

/** Starts, stops and steers the native probe. */
public final class ProbeController {
  private ProbeController() {}

  /** Starts the managers; collecting begins once event agents and network agents run. */
  public static native void startNativeProbe();

  /** Reporting ends at once; the call returns after ten seconds of grace, once all have stopped. */
  public static native void stopNativeProbe();

  /** The probe level plus 1000. */
  public static native int getMonitoringLevel();

  /** Takes 1 to 3 or 1001 to 1003; false when refused. */
  public static native boolean setModLevel(int level);

  /** Whether the server must be started again for a change from or to level 1 to count. */
  public static native boolean restartOnToFromL1();

  /** Whether reports are taken. */
  public static native boolean isNativeProbeEnabled();

  /** Which classes are looked at and which are not; null is an empty list. */
  public static native void setIncludeExcludeList(String[] include, String[] exclude);

  /** Whether the profiling interface was obtained. */
  public static native boolean isJvmpiEnabled();

  /** Obtains the profiling interface where that has not been done; false: there is none. */
  public static native boolean initializeJVMPI();

  /**
   * Sets up the tokens of calls between processes: each '0' or '1' of the mask fixes one of a
   * token's upper bits. Before the first such call.
   */
  public static native void setupGps(String regMask);

  /** Sends what is queued, as far as that succeeds within the given time. For the exit of a JVM. */
  public static native void flushNativeProbe(int millis);
}
