package com.velora.command;

/** Where a thread dump lies; filled in by the native side. */
public final class ThreadDumpInfo {
  private String fileName;
  private long offSet;

  public String getFileName() {
    return fileName;
  }

  public void setFileName(String fileName) {
    this.fileName = fileName;
  }

  /** Of the dump's first byte in the file. */
  public long getOffSet() {
    return offSet;
  }

  public void setOffSet(long offSet) {
    this.offSet = offSet;
  }
}
