package com.velora.bcm.bootstrap;

/** Where the class-load hook and rewritten class loaders offer classes for instrumentation. */
public final class BcmBootstrap {
  private static volatile ClassInstrumenter instrumenter;

  private BcmBootstrap() {}

  /** Who changes classes from now on; null is nobody. */
  public static void setInstrumenter(ClassInstrumenter newInstrumenter) {
    instrumenter = newInstrumenter;
  }

  /** Called by the native side for a class that is about to be defined; returns its bytes. */
  public static byte[] instrumentClassFromJVMPI(byte[] bytes, String className) {
    byte[] changed = changed(null, className, bytes, 0, bytes.length);
    return changed == null ? bytes : changed;
  }

  /** Called by rewritten class loaders with what they define; null keeps the bytes. */
  public static byte[] instrumentClassStatic(
      ClassLoader loader, String className, byte[] bytes, int offset, int length) {
    return changed(loader, className, bytes, offset, length);
  }

  // A class that cannot be instrumented is loaded all the same, whatever the instrumenter raises:
  // it runs inside the server's own class loading.
  private static byte[] changed(
      ClassLoader loader, String className, byte[] bytes, int offset, int length) {
    ClassInstrumenter current = instrumenter;
    if (current == null) {
      return null;
    }
    try {
      return current.instrument(loader, className, bytes, offset, length);
    } catch (Throwable e) {
      e.printStackTrace();
      return null;
    }
  }

  /** Registered by the native side once the JVM is up, not found by its name. */
  public static native void defineNativeMethodsForClassNative(Class<?> cls, String className);
}
