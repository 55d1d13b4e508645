package com.velora.bcm.bootstrap;

/** Where the class-load hook offers classes for instrumentation. */
public final class BcmBootstrap {
  private BcmBootstrap() {}

  /** Nothing is instrumented on the Java side yet: every class keeps its bytes. */
  public static byte[] instrumentClassFromJVMPI(byte[] bytes, String className) {
    return bytes;
  }

  /** The same for classes that a rewritten class loader defines; null keeps the bytes. */
  public static byte[] instrumentClassStatic(
      ClassLoader loader, String className, byte[] bytes, int offset, int length) {
    return null;
  }

  /** Registered by the native side once the JVM is up, not found by its name. */
  public static native void defineNativeMethodsForClassNative(Class<?> cls, String className);
}
