package com.velora.probe.heap;

/** Allocations in woven methods. */
public final class HeapAnalysisRuntime {
  private HeapAnalysisRuntime() {}

  /** A method is about to make an object of the class, in this line. */
  public static native void nativeHeapAllocationStart(
      int methodId, int lineNumber, String className);

  /** The object is made. */
  public static native void nativeHeapAllocationEnd(int methodId, int lineNumber, String className);
}
