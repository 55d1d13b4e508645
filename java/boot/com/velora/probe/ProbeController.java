package com.velora.probe;

/** Starts, stops and steers the native probe. */
public final class ProbeController {
  private ProbeController() {}

  public static native void startNativeProbe();

  /** Reporting ends at once; the call returns after ten seconds of grace, once all have stopped. */
  public static native void stopNativeProbe();

  /** The probe level plus 1000. */
  public static native int getMonitoringLevel();

  /** Takes 1 to 3 or 1001 to 1003; false when refused. */
  public static native boolean setModLevel(int level);

  public static native boolean restartOnToFromL1();

  public static native boolean isNativeProbeEnabled();

  public static native void setIncludeExcludeList(String[] include, String[] exclude);

  public static native boolean isJvmpiEnabled();

  public static native boolean initializeJVMPI();

  /** Sends what is queued, as far as that succeeds within the given time. For the exit of a JVM. */
  public static native void flushNativeProbe(int millis);
}
