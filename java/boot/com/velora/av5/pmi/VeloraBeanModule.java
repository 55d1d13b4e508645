package com.velora.av5.pmi;

/** The agent's module among the server's performance counters of enterprise beans. */
public class VeloraBeanModule {
  /** A bean's method returned. */
  public static native void finishBeanRequest(String className, String methodName, String ejbKey);
}
