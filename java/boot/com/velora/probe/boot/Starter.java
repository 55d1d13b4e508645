package com.velora.probe.boot;

import com.velora.probe.ProbeController;
import com.velora.probe.ProbeSystem;
import com.velora.probe.ProbeUtils;
import com.velora.probe.event.EventAgent;
import com.velora.probe.event.NetworkAgent;
import com.velora.probe.log.ProbeLogger;

/**
 * Starts the agent once the JVM is up, on the JVM's own start-up thread and before the server's
 * main class. Whatever goes wrong costs one line on standard error and leaves the server alone.
 *
 * <p>This delays the start of the server, hence plain classes only: no lambda, stream, regular
 * expression or string format, each of which would load dozens of classes.
 */
public final class Starter {
  private static boolean called;

  private Starter() {}

  /** Called by the library with the directory it lies in. Only the first call does anything. */
  public static void start(String libraryDirectory) {
    synchronized (Starter.class) {
      if (called) {
        return;
      }
      called = true;
    }
    try {
      Identity.fill(libraryDirectory);
      String failure = startNativeSide();
      if (failure == null) {
        startAgentThreads();
        Runtime.getRuntime().addShutdownHook(new ExitFlush());
        log("Java side started");
      } else {
        complain(failure);
      }
    } catch (Throwable e) {
      complain(e.toString());
    }
  }

  /**
   * Null, or which step failed. The order is the managers': service, settings, tokens, probe. Servers
   * that report to one place have token regions of their own where that property gives them one.
   */
  private static String startNativeSide() {
    if (!ProbeUtils.customServiceStart()) {
      return "the native service did not start";
    }
    if (!ProbeSystem.initializeProbe()) {
      return "the native probe refused its settings";
    }
    ProbeController.setupGps(System.getProperty("velora.gps.region", ""));
    ProbeController.startNativeProbe();
    return null;
  }

  private static void startAgentThreads() {
    for (int i = 0, count = NetworkAgent.getNetAgentCount(); i < count; i++) {
      new NetworkAgentThread(i).start();
    }
    for (int i = 0, count = EventAgent.getEvtAgentCount(); i < count; i++) {
      new EventAgentThread(i).start();
    }
  }

  private static void log(String text) {
    try {
      ProbeLogger.write(ProbeLogger.INFO, text);
    } catch (Throwable e) {
      // The probe runs, with or without this line.
    }
  }

  static void complain(String what) {
    try {
      System.err.println("Velora: this server runs unmonitored: " + what);
    } catch (Throwable e) {
      // Nowhere left to say it.
    }
  }
}
