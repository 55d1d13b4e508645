package com.velora.command.monitoring;

/** Figures of the process and the machine for a performance summary, in bytes. */
public final class PerfSummaryImpl {
  private PerfSummaryImpl() {}

  /** Bytes paged in per second, measured over {@code sampleTime} milliseconds (1000 or more). */
  public static native long getPagingRate(int sampleTime);

  public static native long getDiskSpace();

  public static native long getVM();

  public static native long getDiskIO();

  public static native long getNetworkIO();

  public static native long getTotalPhysicalMemory();
}
