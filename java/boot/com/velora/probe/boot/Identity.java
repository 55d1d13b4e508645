package com.velora.probe.boot;

import com.velora.probe.ProbeSystem;
import java.io.File;

/**
 * Fills the settings that the native side reads from {@link ProbeSystem}. Names come from the same
 * keys, in the same order (system property, environment variable, default), as on the native side,
 * so that both agree. Figures left at zero mean the native defaults.
 */
final class Identity {
  private Identity() {}

  static void fill(String libraryDirectory) {
    String node = setting("am.nodename", "defaultnode");
    ProbeSystem.veloraHome = setting("am.home", parentOf(libraryDirectory));
    ProbeSystem.appServerName = setting("am.appserver", "appserver");
    ProbeSystem.adminServerName = setting("velora.admin.server", node);
    ProbeSystem.adminServerPort = number("velora.admin.port");
    ProbeSystem.commandAgentID =
        setting("velora.component.id", componentId(node, ProbeSystem.appServerName));
    ProbeSystem.productVersion = setting("velora.server.version", ProbeSystem.productVersion);
    ProbeSystem.probeStdout = System.getProperty("velora.probe.stdout");
    ProbeSystem.jvmVersion = System.getProperty("java.vm.version");
  }

  /** The process id keeps two servers apart that were both left without names. */
  private static String componentId(String node, String appServer) {
    return node + "." + appServer + "." + ProbeSystem.getProcessId();
  }

  private static String setting(String key, String otherwise) {
    String value = System.getProperty(key);
    if (value == null || value.isEmpty()) {
      value = System.getenv(key);
    }
    return value == null || value.isEmpty() ? otherwise : value;
  }

  private static int number(String key) {
    try {
      return Integer.parseInt(setting(key, "0"));
    } catch (NumberFormatException e) {
      return 0;
    }
  }

  private static String parentOf(String directory) {
    String parent = directory == null ? null : new File(directory).getAbsoluteFile().getParent();
    return parent == null ? "/velora" : parent;
  }
}
