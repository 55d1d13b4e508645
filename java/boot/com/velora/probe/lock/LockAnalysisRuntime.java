package com.velora.probe.lock;

/** Locks taken and given back in woven methods. */
public final class LockAnalysisRuntime {
  private LockAnalysisRuntime() {}

  /**
   * Begin and end of: acquisition (kinds 1, 2), contention (3, 4), release (5, 6); whether that was
   * queued. What is said of the owner counts for contentions only.
   */
  public static native boolean appendEvent(
      byte kind,
      String className,
      int methodId,
      byte owningRequestType,
      String owningRequestName,
      String owningApplicationName,
      int owningMethodId,
      int unused);
}
