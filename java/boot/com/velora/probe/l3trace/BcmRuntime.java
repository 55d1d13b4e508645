package com.velora.probe.l3trace;

/** Method traces of code whose classes the Java side itself keeps account of. */
public final class BcmRuntime {
  private BcmRuntime() {}

  /** A method is left when exit is not 0, else entered; whether that was queued. */
  public static native boolean appendL3Event(byte exit, int methodId);

  /** Tells of a class under the caller's own sequence number; whether that was queued. */
  public static native boolean sendClassEventNative(
      int sequenceId,
      String className,
      int[] methodIds,
      String[] methodNames,
      String[] methodSignatures);

  /** The class told of under this number is gone, with these methods; whether that was queued. */
  public static native boolean sendClassUnloadEventNative(
      int classId, String className, int[] methodIds);
}
