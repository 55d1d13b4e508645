package com.velora.av5;

import java.util.Hashtable;

/** What the agent asks an older server for. */
public final class AVSServer {
  private AVSServer() {}

  /** The data sources that the server's factory class holds; null when it holds none. */
  public static native Hashtable<?, ?> getDataSources(Class<?> dataSourceFactory);
}
