package com.velora.probe;

/** Stands where the agent's class stands, without a library behind it. */
public final class ProbeController {
  public static void setupGps(String regMask) {
    Calls.note("tokens", regMask);
  }

  public static void startNativeProbe() {
    Calls.note("start");
  }

  public static void flushNativeProbe(int millis) {
    System.out.println("flush " + millis);
  }
}
