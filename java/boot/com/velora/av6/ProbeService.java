package com.velora.av6;

/** The agent's access to the newer server generation. */
public final class ProbeService {
  private ProbeService() {}

  /** The system properties that the server's class holds; null when it holds none. */
  public static native Object getSystemProperties(Class<?> AVSSystem);
}
