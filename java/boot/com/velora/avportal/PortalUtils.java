package com.velora.avportal;

/** What a portal's monitoring classes report. */
public final class PortalUtils {
  private PortalUtils() {}

  /** A sum: how many logins, and their mean time. */
  public static native void sendLoginData(int count, long avgTime);

  /** A sum: how many access decisions, and their mean time. */
  public static native void sendAccessControlData(int count, long avgTime);

  /** A sum: how many requests the gateway servlet served, and their mean time. */
  public static native void sendGatewayServletData(int count, long avgTime);

  /** A sum: how many page models were built, and their mean time. */
  public static native void sendModelBuildingData(int count, long avgTime);

  /** A sum: how many pages were loaded, and their mean time. */
  public static native void sendPageLoadingData(int count, long avgTime);

  /** Sums of the credential vault: calls of each kind, and their mean times. */
  public static native void sendCredentialVaultData(
      int getCredentialCount, long getCredentialAvgTime,
      int setCredentialBinaryCount, long setCredentialBinaryAvgTime,
      int setCredentialUserPasswordCount, long setCredentialUserPasswordAvgTime,
      int createSlotCount, long createSlotAvgTime,
      int deleteSlotCount, long deleteSlotAvgTime);

  /** Sums of the content access service: calls of each kind, and their mean times. */
  public static native void sendContentAccessData(
      int getInputStreamCount, long getInputStreamAvgTime,
      int getMarkupCount, long getMarkupAvgTime,
      int getURLCount, long getURLAvgTime,
      int includeCount, long includeAvgTime);

  /** A page's request starts. */
  public static native void startPortalPageRequest(
      String requestName, String appName, String url, String userid);

  /** The page's request ended. */
  public static native void endPortalPageRequest(String requestName);

  /** A portlet starts. */
  public static native void startPortletRequest(
      String requestName, String className, String url, String userid);

  /** The portlet ended. */
  public static native void endPortletRequest(String requestName);

  /** The authorization starts, in the method with this id. */
  public static native void startPortalAuthorizationRequest(byte methodId);

  /** The authorization ended. */
  public static native void endPortalAuthorizationRequest();

  /** The authentication starts, in the method with this id. */
  public static native void startPortalAuthenticationRequest(byte methodId);

  /** The authentication ended. */
  public static native void endPortalAuthenticationRequest();

  /** The building of the page's model starts, in the method with this id. */
  public static native void startPortalModelBuildingRequest(byte methodId);

  /** The building of the page's model ended. */
  public static native void endPortalModelBuildingRequest();

  /** The loading of the page starts, in the method with this id. */
  public static native void startPortalPageLoadingRequest(byte methodId);

  /** The loading of the page ended. */
  public static native void endPortalPageLoadingRequest();

  /** The rendering of the page starts, in the method with this id. */
  public static native void startPortalPageRenderingRequest(byte methodId);

  /** The rendering of the page ended. */
  public static native void endPortalPageRenderingRequest();

  /** The action of a portlet starts, in the method with this id. */
  public static native void startPortalActionRequest(byte methodId);

  /** The action of a portlet ended. */
  public static native void endPortalActionRequest();

  /** The gateway servlet starts. */
  public static native void startGatewayServletRequest();

  /** The gateway servlet ended; its page is the one that the thread named last. */
  public static native void endGatewayServletRequest();

  /** The gateway servlet ended, with this page. */
  public static native void end502GatewayServletRequest(String pageName);

  /** How deep the thread's open requests are nested; 0 for a thread that has reported nothing. */
  public static native int getServletDepth();

  /** The page that the thread works for, kept for the end of its gateway servlet. */
  public static native void processPortalPageName(String pageName);

  /** Tells the name behind an id; the first one stays, and each new connection gets them all. */
  public static native void pushMonitoredMethodToNative(byte methodId, String methodName);
}
