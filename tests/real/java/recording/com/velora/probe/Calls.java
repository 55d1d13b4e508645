package com.velora.probe;

import java.util.ArrayList;
import java.util.List;

/** What the stand-ins of the agent's classes were told, in order. */
public final class Calls {
  private static final List<String> made = new ArrayList<>();

  private Calls() {}

  static void note(String name, Object... values) {
    StringBuilder line = new StringBuilder(name);
    for (Object value : values) {
      line.append('|').append(value);
    }
    made.add(line.toString());
  }

  /** Everything since the last call. */
  public static List<String> taken() {
    List<String> result = new ArrayList<>(made);
    made.clear();
    return result;
  }
}
