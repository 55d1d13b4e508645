package com.velora.probe.boot;

/** Stands in for the agent's Java side: shows that the bridge found and called it. */
public final class Starter {
  public static void start(String libraryDirectory) {
    System.out.println("starter in " + libraryDirectory + " loader " + Starter.class.getClassLoader());
    if (System.getProperty("starter.fails") != null) throw new IllegalStateException("as asked");
  }
}
