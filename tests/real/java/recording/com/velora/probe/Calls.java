package com.velora.probe;

import java.util.ArrayList;
import java.util.List;

/** What the stand-ins of the agent's classes were told, in order, by whichever thread. */
public final class Calls {
  private static final List<String> made = new ArrayList<>();

  /** Which call shall answer false or throw, for tests of failures. */
  public static volatile String refused = "";

  public static synchronized void note(String name, Object... values) {
    StringBuilder line = new StringBuilder(name);
    for (Object value : values) {
      line.append('|').append(value);
    }
    made.add(line.toString());
  }

  public static void noteThread(int id) {
    Thread thread = Thread.currentThread();
    note("agent", id, thread.getName(), thread.isDaemon(), thread.getContextClassLoader());
  }

  /** Everything since the last call. */
  public static synchronized List<String> taken() {
    List<String> result = new ArrayList<>(made);
    made.clear();
    return result;
  }
}
