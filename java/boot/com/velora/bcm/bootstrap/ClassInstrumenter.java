package com.velora.bcm.bootstrap;

/** Changes classes before the JVM defines them. Called by any thread that loads a class. */
public interface ClassInstrumenter {
  /**
   * The class to define in place of {@code length} bytes from {@code offset} on; null leaves it as
   * it is. The loader is null where it is not known. Must not load the class that it is given.
   */
  byte[] instrument(ClassLoader loader, String className, byte[] bytes, int offset, int length);
}
