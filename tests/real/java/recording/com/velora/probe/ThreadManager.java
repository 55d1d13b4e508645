package com.velora.probe;

/** Stands where the agent's class stands, without a library behind it. */
public final class ThreadManager {
  public static void startNativeHttpRequest(
      String object, String request, String application, String url, String user) {
    Calls.note("start", object, request, application, url, user);
  }

  public static void errorNativeHttpRequest(String request, String application, String why) {
    Calls.note("error", request, application, why);
  }

  public static void finishNativeHttpRequest(String request, String application, String url) {
    Calls.note("finish", request, application, url);
  }
}
