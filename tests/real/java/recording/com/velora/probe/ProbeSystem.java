package com.velora.probe;

/** Stands where the agent's class stands; notes the settings that the native side would read. */
public final class ProbeSystem {
  public static String veloraHome;
  public static String adminServerName;
  public static String appServerName;
  public static String commandAgentID;
  public static int adminServerPort;
  public static String jvmVersion;
  public static String probeStdout;
  public static String productVersion = "0.0.0";

  public static int getProcessId() {
    return 4711;
  }

  public static boolean initializeProbe() {
    Calls.note("probe", veloraHome, adminServerName, appServerName, commandAgentID,
        adminServerPort, jvmVersion != null);
    return !Calls.refused.equals("probe");
  }
}
