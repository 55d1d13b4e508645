package com.velora.network;

/** Kept for callers that prepare the native network side; there is nothing to prepare. */
public final class NetworkAgent {
  /** Does nothing. */
  public native void initCppSide();
}
