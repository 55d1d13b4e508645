package com.velora.command.heap;

/**
 * Summaries of the Java heap. The text's first line holds all bytes and all objects; then one line
 * per class, {@code name,bytes,percent,count,percent}, the smallest class first; then the lines of
 * {@code primitive[]} and {@code object[]}. The JVM collects garbage first and stands still while
 * it counts.
 */
public final class HeapUtil {
  private HeapUtil() {}

  /** 0 when the JVM can enumerate its objects, else 4. */
  public static native int testHeapDumpEnvironmentNative();

  /**
   * Appends a summary made from the JVM's enumeration of its objects. 0 when done, 3 after a Java
   * exception, which is described on standard error, and 4 when the JVM gives no enumeration.
   */
  public static native int getHeapSnapShotData(StringBuffer buffer);

  /**
   * Appends a summary made from a heap dump of the profiling interface, which counts field values
   * instead of whole objects. Results as above; 4 also while the probe is off.
   */
  public static native int getHeapDumpData(StringBuffer buffer);
}
