package com.velora.command.monitoring;

/** Figures of the process and the machine for a performance summary; 0: not to be had. */
public final class PerfSummaryImpl {
  private PerfSummaryImpl() {}

  /** Bytes paged in per second; blocks its caller for {@code sampleTime} milliseconds. */
  public static native long getPagingRate(int sampleTime);

  /** Blocks of all disks and all their partitions. */
  public static native long getDiskSpace();

  /** Virtual memory of this process in bytes, as 32 bits. */
  public static native long getVM();

  /** Input and output of the last disk that the kernel lists, in its own units. */
  public static native long getDiskIO();

  /** Sent and received on all interfaces, in units of 2^20 bytes. */
  public static native long getNetworkIO();

  /** Memory of the machine in bytes. */
  public static native long getTotalPhysicalMemory();
}
