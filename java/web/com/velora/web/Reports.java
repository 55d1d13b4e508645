package com.velora.web;

import com.velora.probe.ProbeUtils;
import com.velora.probe.ThreadManager;

/**
 * The only way from this jar to the agent. Without the agent (its classes are not there, or its
 * library is not) every call does nothing, so that an application runs with this jar alone too.
 *
 * <p>Each begin says whether it was reported; an end belongs only to a begin that was.
 */
public final class Reports {
  /** Once a class or a native was missing the JVM will not find it later either. */
  private static volatile boolean agentMissing;

  private Reports() {}

  /** One report to the agent. */
  private interface Report {
    void send();
  }

  public static boolean beginRequest(
      String method, String request, String application, String url, String user) {
    return sent(
        () -> ThreadManager.startNativeHttpRequest(method, request, application, url, user));
  }

  public static void requestFailed(String request, String application, String why) {
    sent(() -> ThreadManager.errorNativeHttpRequest(request, application, why));
  }

  public static void endRequest(String request, String application, String url) {
    sent(() -> ThreadManager.finishNativeHttpRequest(request, application, url));
  }

  public static boolean beginSql(String sql, String dataSource) {
    return sent(() -> ProbeUtils.beginNativeSQLRequest(sql, dataSource));
  }

  public static void endSql(String sql, String dataSource) {
    sent(() -> ProbeUtils.endNativeSQLRequest(sql, dataSource));
  }

  private static boolean sent(Report report) {
    if (agentMissing) {
      return false;
    }
    try {
      report.send();
      return true;
    } catch (LinkageError e) {
      agentMissing = true;
      return false;
    } catch (RuntimeException e) {
      return false;
    }
  }
}
