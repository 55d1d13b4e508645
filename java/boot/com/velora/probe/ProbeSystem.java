package com.velora.probe;

/**
 * What the native side knows of its host and what it may ask for: set-up values that it reads from
 * these fields when the probe is initialised, figures that it writes back, clocks and CPU times.
 *
 * <p>The native side finds every field by its name; a zero in a numeric setting means its default.
 */
public final class ProbeSystem {
  // Read by the native side. The first four strings must not be null.
  public static String veloraHome;
  public static String adminServerName;
  public static String appServerName;
  public static String commandAgentID;
  public static int methodHashSize;
  public static int publishFrequency;
  public static int eventPacketSize;
  public static int eventQueueSizeLimit;
  public static long psRetryFrequency;
  public static int wakeupQueueLength;
  public static String probeStdout;
  public static int adminServerPort;
  public static String jvmVersion;
  public static Class<?> object = Object.class;
  public static Class<?> clazz = Class.class;
  public static Class<?> string = String.class;

  // Written by the native side. MOD_FILE stays null without a probe-level file.
  public static int processId;
  public static int numberOfCPUs;
  public static int numberOnline;
  public static int cpuSpeed;
  public static long totalMemory;
  public static String cpuType;
  public static int platform;
  public static int probeLevel;
  public static String MOD_FILE;

  /** Version of the server product as "major.minor.release"; zeros: not known. */
  public static String productVersion = "0.0.0";

  private ProbeSystem() {}

  /** Asked by the native side for its records' version bytes. */
  public static String getAppServerProductVersion() {
    return productVersion;
  }

  /** Asked by the native side for the name under which the server reports. */
  public static String getAppServerName() {
    return appServerName;
  }

  /** Hands the fields above over and fills in the machine's figures; false: nothing will run. */
  public static native boolean initializeProbe();

  /** Id of this process. */
  public static native int getProcessId();

  /** The arguments of the process, or null when none were saved. */
  public static native String[] getArgumentVector();

  /** CPU time of the calling thread in nanoseconds. */
  public static native long nativeGetCurrentThreadCPUTime();

  /** Id of the calling thread, as in its records. */
  public static native long nativeGetCurrentThreadID();

  /** Only the microseconds within the current second, 0 to 999999. */
  public static native long nativeGetTimeMicroSeconds();

  /** CPU time of this process in nanoseconds. */
  public static native long nativeUpdateAppServerCPUTime();

  /** Share of the machine's CPU time that this process took since the last call, in percent. */
  public static native double nativeUpdateAppServerCPU();

  /** Share of its CPU time that the machine was busy since the last call, in percent. */
  public static native double nativeUpdatePlatformCPU();

  /** Busy CPU time of the machine in nanoseconds. */
  public static native long nativeUpdatePlatformCPUTime();

  /** Keeps and reports four sampling rates: missing ones are 0, more are left out. */
  public static native void setNativeSamplingRates(int[] levels, boolean useDefault);

  /** Ends the whole process at once with status 12; nothing is flushed. */
  public static native void stopNative();
}
